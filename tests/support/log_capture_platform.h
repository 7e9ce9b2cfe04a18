#pragma once

// The liblog logger API differs: Debian's liblog 29 has the pre-release two-argument logger,
// Android 11+ the one-argument `__android_log_message` logger. One file per side.
namespace talvex::test::platform {

// Routes libbase's and liblog's lines, DEBUG included, to `LogCapture::add`.
void installCaptureLogger();
// Drops every line, so none reaches a capture that is going away.
void installDiscardLogger();

}  // namespace talvex::test::platform
