#pragma once

// Host stand-in for bionic's <sys/system_properties.h>: the limits that libcutils'
// <cutils/properties.h> builds on (bionic's values).
#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
