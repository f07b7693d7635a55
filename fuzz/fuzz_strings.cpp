// libFuzzer over strings tables.
//
// Any text must read without fault. A table read without error, written out
// again with every key and value quoted and escaped, must read back to the
// same entries: the writer here knows only the documented escapes.
#include <zv/foundation/StringsTable.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n') { out += "\\n"; continue; }
        if (c == '\0') { out += "\\0"; continue; }
        out += c;
    }
    return out + '"';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string error;
    const zv::StringsTable table = zv::parseStringsTable(text, &error);
    if (!error.empty()) return 0;

    std::string written;
    for (const auto& [key, value] : table) written += quoted(key) + " = " + quoted(value) + ";\n";
    std::string again;
    const zv::StringsTable reread = zv::parseStringsTable(written, &again);
    if (reread == table && again.empty()) return 0;
    std::fprintf(stderr, "the table written out reads back differently (%s)\n--- written\n%s\n", again.c_str(),
                 written.c_str());
    std::abort();
}
