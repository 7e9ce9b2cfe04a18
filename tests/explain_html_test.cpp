/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

// The HTML report opened in a real headless browser (Debian's chromium): it renders without a
// console error, shows one row per layer and the stuck frame marked, and leaves a screenshot.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>

#include "explain.h"
#include "explain_sample_log.h"
#include "report.h"

namespace talvex::explain {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

// Runs `command`, returns what it printed on stdout; `status` gets its exit status.
std::string capture(const std::string& command, int* status) {
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return "";
    std::string out;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) out.append(buffer.data(), n);
    *status = pclose(pipe);
    return out;
}

std::string chromium() {
    for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
        if (access(path, X_OK) == 0) return path;
    }
    return "";
}

size_t count(const std::string& text, const std::regex& pattern) {
    return static_cast<size_t>(std::distance(
        std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()));
}

TEST(HtmlReport, RendersInHeadlessChromiumWithLayerRowsAndTheStuckFrame) {
    const std::string browser = chromium();
    ASSERT_FALSE(browser.empty())
        << "chromium is not installed: apt-get install chromium (scripts/install-deps.sh)";

    const fs::path dir = fs::temp_directory_path() / ("explain_html_" + std::to_string(getpid()));
    fs::create_directories(dir / "profile");
    const fs::path page = dir / "report.html";
    {
        std::ofstream out(page);
        writeHtml(explainText(test::renderSample("threadtime")), "sample.txt", out);
    }
    const std::string flags =
        " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
        " --disable-background-networking --disable-component-update --disable-sync"
        " --enable-logging=stderr --v=0 --user-data-dir=" +
        (dir / "profile").string();
    const std::string console = (dir / "console.txt").string();
    int status = -1;
    const std::string dom =
        capture(browser + flags + " --dump-dom file://" + page.string() + " 2>" + console, &status);
    EXPECT_EQ(status, 0);
    std::ifstream log(console);
    const std::string logged((std::istreambuf_iterator<char>(log)), {});
    EXPECT_EQ(logged.find("CONSOLE"), std::string::npos) << logged;
    EXPECT_EQ(logged.find("Refused to"), std::string::npos) << logged;

    EXPECT_EQ(count(dom, std::regex("class=\"layer-row\" data-layer=")), 1u) << dom;
    EXPECT_EQ(count(dom, std::regex("<rect class=\"frame stuck\"")), 1u);
    EXPECT_THAT(dom, HasSubstr("frame 5 stuck after transactionCallback"));
    EXPECT_THAT(dom, HasSubstr("frame 5 waiting after transactionCallback for 1500.0 ms until"));
    EXPECT_EQ(count(dom, std::regex("<line class=\"dump\"")), 1u);
    EXPECT_EQ(count(dom, std::regex("<rect class=\"callback old\"")), 1u);
    EXPECT_THAT(dom, HasSubstr("<span class=\"kind\">stuck-frames</span>"));

    // For people to look at: left beside the test binary.
    const fs::path screenshot = fs::current_path() / "explain_report_screenshot.png";
    capture(browser + flags + " --window-size=1400,900 --screenshot=" + screenshot.string() +
                " file://" + page.string() + " 2>/dev/null",
            &status);
    EXPECT_EQ(status, 0);
    EXPECT_GT(fs::exists(screenshot) ? fs::file_size(screenshot) : 0, 1000u);
    std::cout << "screenshot: " << screenshot.string() << "\n";
    fs::remove_all(dir);
}

}  // namespace
}  // namespace talvex::explain
