#include <zv/html/HTMLWorkCounters.h>

namespace zv::html {

HTMLWorkCounters& htmlWorkCounters() noexcept {
    thread_local HTMLWorkCounters counters;
    return counters;
}

}  // namespace zv::html
