// Prints where an installed zvcore finds the framework's resources, and one
// string from them: the key given, looked up in the "Probe" table.
#include <zv/foundation/Bundle.h>

#include <iostream>

int main(int argc, char** argv) {
    auto bundle = zv::Bundle::frameworkBundle();
    std::cout << bundle->resourcePath() << "\n";
    if (argc > 1) std::cout << bundle->localizedString(argv[1], {}, "Probe") << "\n";
    return 0;
}
