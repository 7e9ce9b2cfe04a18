// libFuzzer harness: any bytes through the line reader, the dump parser, the findings and every
// output; the input is split in two chunks at a point the input chooses.
#include <cstddef>
#include <cstdint>
#include <sstream>

#include "dump_parser.h"
#include "explain.h"
#include "line_reader.h"
#include "report.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace talvex::explain;
    const char* text = reinterpret_cast<const char*>(data);
    const size_t split = size ? data[0] % (size + 1) : 0;
    DumpParser parser;
    LineReader reader([&](std::string_view line, size_t dropped) { parser.addLine(line, dropped); });
    reader.add(text, split);
    reader.add(text + split, size - split);
    reader.finish();
    Analysis analysis = parser.finish();
    addFindings(analysis, Thresholds{});
    std::ostringstream sink;
    writeTextReport(analysis, sink);
    writeJson(analysis, sink);
    writeTrace(analysis, sink);
    writeHtml(analysis, "fuzz", sink);
    return 0;
}
