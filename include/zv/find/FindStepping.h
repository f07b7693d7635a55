// Find across several messages: which message the next step goes to.
//
// When the current message's current match is its last (stepping forward)
// or its first (backward), the step leaves it: its index becomes -1 and the
// walk goes on, cyclically, to the nearest message with a key and a positive
// count, wrapping past the end (the start) at most once; the step is
// "looped" when it wrapped, which may bring it back to the same message.
// Otherwise the step stays in the current message. A message entered anew
// gets index 0 (forward) or count - 1 (backward); its page then moves its own
// current match there.
#pragma once

#include <zv/Export.h>
#include <zv/find/FindResults.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zv {

enum class FindDirection { Next, Previous };

struct FindStep {
    size_t item = 0;       // position in the list of messages
    bool looped = false;   // the walk wrapped around the list
    bool entered = false;  // the step left the message it started in
};

// `keys` are the visible messages in display order (none for a message
// without a key); `current` is the current message's position, none to
// start at the first (last) one. Updates the indexes in `results` as
// described above. Nothing when the list is empty, or when a full turn found
// no message with matches (the exhausted message keeps index -1).
ZV_EXPORT std::optional<FindStep> stepToItem(const std::vector<std::optional<std::string>>& keys,
                                             std::optional<size_t> current, FindDirection direction,
                                             FindResults& results);

}  // namespace zv
