// zvwk color: the value of an HTML colour keyword.
#include "Commands.h"

#include <zv/foundation/Color.h>

#include <cmath>
#include <iostream>

namespace zvwk {

namespace {

// 0-1 back to 0-255, halves rounded up.
int byteValue(double component) { return int(std::floor(component * 255.0 + 0.5)); }

}  // namespace

int runColor(const Args& args) {
    if (args.empty()) return usageError("color: no colour name");
    if (args.size() > 1) return usageError("color: one colour name only");
    const std::string& name = args[0];
    std::optional<zv::Color> color = zv::colorWithHTMLName(name);
    if (!color) {
        std::cerr << "zvwk: color: unknown colour name " << quotedForMessage(name) << "\n";
        return 1;
    }
    std::cout << byteValue(color->r) << "," << byteValue(color->g) << "," << byteValue(color->b) << "\n";
    return 0;
}

}  // namespace zvwk
