// The window commands of a zvwk configured without the web layer
// (-DZV_WEBKIT=OFF): they stay listed, and say why they cannot run.
#include "Commands.h"

#include <iostream>

namespace zvwk {

namespace {

int notBuilt(const char* command) {
    std::cerr << "zvwk: " << command << ": not built: this zvwk was configured without the web layer (ZV_WEBKIT=OFF)\n";
    return 1;
}

}  // namespace

int runView(const Args&) { return notBuilt("view"); }
int runPage(const Args&) { return notBuilt("page"); }
int runFindDemo(const Args&) { return notBuilt("find-demo"); }

}  // namespace zvwk
