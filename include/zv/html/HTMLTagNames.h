// Interned element names.
//
// Every element name the parser, serializer and selector engine reason about
// gets a small integer, so the tree builder compares integers instead of
// strings. Names outside the list are kept as strings by the element itself
// (Tag::Unknown), so hostile input cannot grow a global table.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <string_view>

namespace zv::html {

// X(identifier, name). Names are exact: SVG camel case included.
#define ZV_HTML_TAGS(X)                                                                      \
    X(a, "a") X(abbr, "abbr") X(address, "address") X(annotation_xml, "annotation-xml")      \
    X(applet, "applet") X(area, "area") X(article, "article") X(aside, "aside")              \
    X(audio, "audio") X(b, "b") X(base, "base") X(basefont, "basefont") X(bdi, "bdi")        \
    X(bdo, "bdo") X(bgsound, "bgsound") X(big, "big") X(blink, "blink")                      \
    X(blockquote, "blockquote") X(body, "body") X(br, "br") X(button, "button")              \
    X(canvas, "canvas") X(caption, "caption") X(center, "center") X(cite, "cite")            \
    X(code, "code") X(col, "col") X(colgroup, "colgroup") X(command, "command")              \
    X(data, "data") X(datalist, "datalist") X(dd, "dd") X(del, "del") X(desc, "desc")        \
    X(details, "details") X(dfn, "dfn") X(dialog, "dialog") X(dir, "dir") X(div, "div")      \
    X(dl, "dl") X(dt, "dt") X(em, "em") X(embed, "embed") X(fieldset, "fieldset")            \
    X(figcaption, "figcaption") X(figure, "figure") X(font, "font") X(footer, "footer")      \
    X(foreignObject, "foreignObject") X(form, "form") X(frame, "frame")                      \
    X(frameset, "frameset") X(h1, "h1") X(h2, "h2") X(h3, "h3") X(h4, "h4") X(h5, "h5")      \
    X(h6, "h6") X(head, "head") X(header, "header") X(hgroup, "hgroup") X(hr, "hr")          \
    X(html, "html") X(i, "i") X(iframe, "iframe") X(image, "image") X(img, "img")            \
    X(input, "input") X(ins, "ins") X(isindex, "isindex") X(kbd, "kbd") X(keygen, "keygen")  \
    X(label, "label") X(legend, "legend") X(li, "li") X(link, "link") X(listing, "listing")  \
    X(main, "main") X(malignmark, "malignmark") X(map, "map") X(mark, "mark")                \
    X(marquee, "marquee") X(math, "math") X(menu, "menu") X(menuitem, "menuitem")            \
    X(meta, "meta") X(meter, "meter") X(mglyph, "mglyph") X(mi, "mi") X(mn, "mn")            \
    X(mo, "mo") X(ms, "ms") X(mtext, "mtext") X(nav, "nav") X(nobr, "nobr")                  \
    X(noembed, "noembed") X(noframes, "noframes") X(noscript, "noscript")                    \
    X(object, "object") X(ol, "ol") X(optgroup, "optgroup") X(option, "option")              \
    X(output, "output") X(p, "p") X(param, "param") X(picture, "picture")                    \
    X(plaintext, "plaintext") X(pre, "pre") X(progress, "progress") X(q, "q") X(rb, "rb")    \
    X(rp, "rp") X(rt, "rt") X(rtc, "rtc") X(ruby, "ruby") X(s, "s") X(samp, "samp")          \
    X(script, "script") X(search, "search") X(section, "section") X(select, "select")        \
    X(slot, "slot") X(small, "small") X(source, "source") X(span, "span")                    \
    X(strike, "strike") X(strong, "strong") X(style, "style") X(sub, "sub")                  \
    X(summary, "summary") X(sup, "sup") X(svg, "svg") X(table, "table") X(tbody, "tbody")    \
    X(td, "td") X(template_, "template") X(textarea, "textarea") X(tfoot, "tfoot")           \
    X(th, "th") X(thead, "thead") X(time, "time") X(title, "title") X(tr, "tr")              \
    X(track, "track") X(tt, "tt") X(u, "u") X(ul, "ul") X(var, "var") X(video, "video")      \
    X(wbr, "wbr") X(xmp, "xmp")

enum class Tag : uint16_t {
    Unknown = 0,
#define ZV_TAG_ENUM(id, name) id,
    ZV_HTML_TAGS(ZV_TAG_ENUM)
#undef ZV_TAG_ENUM
    Count
};

// Exact, case-sensitive lookup; Tag::Unknown for names outside the list.
ZV_EXPORT Tag tagFromName(std::string_view name) noexcept;
// The name of a known tag; empty for Tag::Unknown.
ZV_EXPORT std::string_view tagName(Tag tag) noexcept;

enum class Namespace : uint8_t { HTML, SVG, MathML };

// The namespace URI the DOM reports.
ZV_EXPORT std::string_view namespaceURI(Namespace ns) noexcept;

}  // namespace zv::html
