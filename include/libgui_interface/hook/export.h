#pragma once

// Marks the API of libgui_talvex_utils.so; everything else is built with hidden visibility.
#define TALVEX_EXPORT __attribute__((visibility("default")))
