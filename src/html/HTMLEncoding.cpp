// Encoding labels and the encoding sniffing algorithm of the HTML standard.
#include <zv/html/HTMLEncoding.h>

#include "ASCIIText.h"

#include <utility>

namespace zv::html {

namespace {

struct Label {
    std::string_view label;
    std::string_view encoding;
};

constexpr Label kLabels[] = {
#include "EncodingLabels.inc"
};

bool equalsLowerCaseLabel(std::string_view candidate, std::string_view lowerLabel) {
    if (candidate.size() != lowerLabel.size())
        return false;
    for (size_t i = 0; i < candidate.size(); ++i) {
        if (toASCIILower(candidate[i]) != lowerLabel[i])
            return false;
    }
    return true;
}

}  // namespace

std::optional<std::string> encodingForLabel(std::string_view label) {
    label = trimASCIIWhitespace(label);
    for (const Label& entry : kLabels) {
        if (equalsLowerCaseLabel(label, entry.label))
            return std::string(entry.encoding);
    }
    return std::nullopt;
}

SniffedEncoding sniffEncoding(std::string_view bytes, std::string_view transportEncoding,
                              std::string_view defaultEncoding) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        return {"UTF-8", 3};
    if (bytes.starts_with("\xFE\xFF"))
        return {"UTF-16BE", 2};
    if (bytes.starts_with("\xFF\xFE"))
        return {"UTF-16LE", 2};
    // The transport layer's word is final, UTF-16 included: unlike a <meta>,
    // it was not itself read from the bytes as ASCII.
    if (auto transport = encodingForLabel(transportEncoding))
        return {std::move(*transport), 0};
    if (auto declared = prescanForEncoding(bytes))
        return {std::move(*declared), 0};
    if (auto fallback = encodingForLabel(defaultEncoding))
        return {std::move(*fallback), 0};
    return {"windows-1252", 0};
}

}  // namespace zv::html
