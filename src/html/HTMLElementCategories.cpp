#include "HTMLElementCategories.h"

#include "ASCIIText.h"

#include <array>
#include <initializer_list>

namespace zv::html {

namespace {

using namespace category;

constexpr uint32_t kScopeBoundaries = ScopeBoundary | ListItemScopeBoundary | ButtonScopeBoundary;

constexpr auto kHTMLCategories = [] {
    std::array<uint32_t, size_t(Tag::Count)> result{};
    auto assign = [&](std::initializer_list<Tag> tags, uint32_t bits) {
        for (Tag t : tags) result[size_t(t)] |= bits;
    };
    using enum Tag;
    // The current standard drops select from "special": a misnested formatting
    // end tag around a select no longer runs the adoption agency through it.
    assign({address, applet, area, article, aside, base, basefont, bgsound, blockquote, body, br,
          button, caption, center, col, colgroup, dd, details, dir, div, dl, dt, embed, fieldset,
          figcaption, figure, footer, form, frame, frameset, h1, h2, h3, h4, h5, h6, head, header,
          hgroup, hr, html, iframe, img, input, keygen, li, link, listing, main, marquee, menu, meta,
          nav, noembed, noframes, noscript, object, ol, p, param, plaintext, pre, script, search,
          section, source, style, summary, table, tbody, td, template_, textarea, tfoot, th,
          thead, title, tr, track, ul, wbr, xmp},
         Special);
    assign({applet, caption, html, table, td, th, marquee, object, template_}, kScopeBoundaries);
    assign({ol, ul}, ListItemScopeBoundary);
    assign({button}, ButtonScopeBoundary);
    assign({html, table, template_}, TableScopeBoundary | TableContext);
    assign({dd, dt, li, optgroup, option, p, rb, rp, rt, rtc}, ImpliedEndTag | ThoroughlyImpliedEndTag);
    assign({caption, colgroup, tbody, td, tfoot, th, thead, tr}, ThoroughlyImpliedEndTag);
    assign({a, b, big, code, em, font, i, nobr, s, small, strike, strong, tt, u}, Formatting);
    assign({tbody, tfoot, thead, template_, html}, TableBodyContext);
    assign({tr, template_, html}, TableRowContext);
    assign({table, tbody, tfoot, thead, tr}, FosterParentTarget | TableTextTarget);
    assign({template_}, TableTextTarget);
    assign({h1, h2, h3, h4, h5, h6}, NumberedHeading);
    assign({dd, dt, li, optgroup, option, p, rb, rp, rt, rtc, tbody, td, tfoot, th, thead, tr, body, html},
         OpenAtEndOfBody);
    return result;
}();

uint32_t mathMLCategories(Tag tag, const HTMLElement& element) noexcept {
    switch (tag) {
    case Tag::mi:
    case Tag::mo:
    case Tag::mn:
    case Tag::ms:
    case Tag::mtext:
        return Special | kScopeBoundaries | MathMLTextIntegrationPoint;
    case Tag::annotation_xml: {
        uint32_t bits = Special | kScopeBoundaries;
        if (const std::string* encoding = element.attribute("encoding"))
            if (equalsIgnoringASCIICase(*encoding, "text/html") ||
                equalsIgnoringASCIICase(*encoding, "application/xhtml+xml"))
                bits |= HTMLIntegrationPoint;
        return bits;
    }
    default:
        return 0;
    }
}

}  // namespace

uint32_t elementCategories(Tag tag, Namespace ns, const HTMLElement& element) noexcept {
    switch (ns) {
    case Namespace::HTML:
        return kHTMLCategories[size_t(tag)];
    case Namespace::MathML:
        return mathMLCategories(tag, element);
    case Namespace::SVG:
        if (tag == Tag::foreignObject || tag == Tag::desc || tag == Tag::title)
            return Special | kScopeBoundaries | HTMLIntegrationPoint;
        return 0;
    }
    return 0;
}

}  // namespace zv::html
