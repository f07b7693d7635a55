#include "SearchValuesMessage.h"

#include <zv/foundation/WholeNumber.h>

namespace zv {

SearchValuesMessage readSearchValuesMessage(const Value& body) {
    using Kind = SearchValuesMessage::Kind;
    if (!body.is_object() || body.size() != 3) return {};
    auto key = body.find("webviewIdentifier");
    auto type = body.find("type");
    auto count = body.find("count");
    if (key == body.end() || !key->is_string() || type == body.end() || !type->is_string()) return {Kind::Ignored, {}, 0};
    if (count == body.end() || !count->is_number()) return {Kind::Ignored, {}, 0};
    const Kind kind = *type == "wvCount" ? Kind::Count : *type == "wvIndex" ? Kind::Index : Kind::Ignored;
    return {kind, key->get<std::string>(), wholeNumber(*count)};
}

}  // namespace zv
