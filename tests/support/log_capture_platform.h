#pragma once

// The liblog logger API differs: Debian's liblog 29 has the pre-release two-argument logger,
// Android 11+ the one-argument `__android_log_message` logger. One file per side.
namespace talvex::test::platform {

enum class Logger {
    kCapture,  // every line to `LogCapture::add`
    kStderr,   // every line to stderr as "<priority> <text>", the tag never read
};

// Installs `logger` as liblog's logger.
void setLiblogLogger(Logger logger);

}  // namespace talvex::test::platform
