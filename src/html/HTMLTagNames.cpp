#include <zv/html/HTMLTagNames.h>

#include <array>
#include <unordered_map>

namespace zv::html {

namespace {

constexpr std::array<std::string_view, size_t(Tag::Count)> kNames = {
    "",
#define ZV_TAG_NAME(id, name) name,
    ZV_HTML_TAGS(ZV_TAG_NAME)
#undef ZV_TAG_NAME
};

const std::unordered_map<std::string_view, Tag>& nameTable() {
    static const auto* table = [] {
        auto* t = new std::unordered_map<std::string_view, Tag>();
        t->reserve(kNames.size() * 2);
        for (size_t i = 1; i < kNames.size(); ++i) t->emplace(kNames[i], Tag(i));
        return t;
    }();
    return *table;
}

}  // namespace

Tag tagFromName(std::string_view name) noexcept {
    // Every known name is 1 to 14 bytes; most unknown ones are rejected here.
    if (name.empty() || name.size() > 14) return Tag::Unknown;
    const auto& table = nameTable();
    auto it = table.find(name);
    return it == table.end() ? Tag::Unknown : it->second;
}

std::string_view tagName(Tag tag) noexcept {
    auto i = size_t(tag);
    return i < kNames.size() ? kNames[i] : std::string_view();
}

std::string_view namespaceURI(Namespace ns) noexcept {
    switch (ns) {
    case Namespace::HTML: return "http://www.w3.org/1999/xhtml";
    case Namespace::SVG: return "http://www.w3.org/2000/svg";
    case Namespace::MathML: return "http://www.w3.org/1998/Math/MathML";
    }
    return {};
}

}  // namespace zv::html
