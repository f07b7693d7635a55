#include "HTMLWorkCounters.h"

#if defined(ZV_WORK_COUNTERS)

namespace zv::html {

HTMLWorkCounters& htmlWorkCounters() noexcept {
    thread_local HTMLWorkCounters counters;
    return counters;
}

}  // namespace zv::html

#endif
