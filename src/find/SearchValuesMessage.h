// The "searchValues" message a page's search script sends: the number of
// matches in a view ("wvCount") or the index of the current one ("wvIndex").
//
// The body is whatever the page posted; reading it never faults.
#pragma once

#include <zv/foundation/Value.h>

#include <cstdint>
#include <string>

namespace zv {

struct SearchValuesMessage {
    enum class Kind {
        Malformed,  // not an object of exactly three members: worth a log line
        Ignored,    // the right shape, but not a count or an index the controller keeps
        Count,
        Index,
    };
    Kind kind = Kind::Malformed;
    std::string webviewIdentifier;
    int64_t value = 0;
};

SearchValuesMessage readSearchValuesMessage(const Value& body);

}  // namespace zv
