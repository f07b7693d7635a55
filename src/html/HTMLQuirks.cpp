#include "HTMLQuirks.h"

#include <array>
#include <string_view>

namespace zv::html {

namespace {

constexpr std::string_view kQuirkyPublicIdPrefixes[] = {
    "+//silmaril//dtd html pro v0r11 19970101//",
    "-//as//dtd html 3.0 aswedit + extensions//",
    "-//advasoft ltd//dtd html 3.0 aswedit + extensions//",
    "-//ietf//dtd html 2.0 level 1//",
    "-//ietf//dtd html 2.0 level 2//",
    "-//ietf//dtd html 2.0 strict level 1//",
    "-//ietf//dtd html 2.0 strict level 2//",
    "-//ietf//dtd html 2.0 strict//",
    "-//ietf//dtd html 2.0//",
    "-//ietf//dtd html 2.1e//",
    "-//ietf//dtd html 3.0//",
    "-//ietf//dtd html 3.2 final//",
    "-//ietf//dtd html 3.2//",
    "-//ietf//dtd html 3//",
    "-//ietf//dtd html level 0//",
    "-//ietf//dtd html level 1//",
    "-//ietf//dtd html level 2//",
    "-//ietf//dtd html level 3//",
    "-//ietf//dtd html strict level 0//",
    "-//ietf//dtd html strict level 1//",
    "-//ietf//dtd html strict level 2//",
    "-//ietf//dtd html strict level 3//",
    "-//ietf//dtd html strict//",
    "-//ietf//dtd html//",
    "-//metrius//dtd metrius presentational//",
    "-//microsoft//dtd internet explorer 2.0 html strict//",
    "-//microsoft//dtd internet explorer 2.0 html//",
    "-//microsoft//dtd internet explorer 2.0 tables//",
    "-//microsoft//dtd internet explorer 3.0 html strict//",
    "-//microsoft//dtd internet explorer 3.0 html//",
    "-//microsoft//dtd internet explorer 3.0 tables//",
    "-//netscape comm. corp.//dtd html//",
    "-//netscape comm. corp.//dtd strict html//",
    "-//o'reilly and associates//dtd html 2.0//",
    "-//o'reilly and associates//dtd html extended 1.0//",
    "-//o'reilly and associates//dtd html extended relaxed 1.0//",
    "-//sq//dtd html 2.0 hotmetal + extensions//",
    "-//softquad software//dtd hotmetal pro 6.0::19990601::extensions to html 4.0//",
    "-//softquad//dtd hotmetal pro 4.0::19970916::extensions to html 4.0//",
    "-//spyglass//dtd html 2.0 extended//",
    "-//sun microsystems corp.//dtd hotjava html//",
    "-//sun microsystems corp.//dtd hotjava strict html//",
    "-//w3c//dtd html 3 1995-03-24//",
    "-//w3c//dtd html 3.2 draft//",
    "-//w3c//dtd html 3.2 final//",
    "-//w3c//dtd html 3.2//",
    "-//w3c//dtd html 3.2s draft//",
    "-//w3c//dtd html 4.0 frameset//",
    "-//w3c//dtd html 4.0 transitional//",
    "-//w3c//dtd html experimental 19960712//",
    "-//w3c//dtd html experimental 970421//",
    "-//w3c//dtd w3 html//",
    "-//w3o//dtd w3 html 3.0//",
    "-//webtechs//dtd mozilla html 2.0//",
    "-//webtechs//dtd mozilla html//",
};

std::string lowered(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = char(c + 32);
    return out;
}

}  // namespace

HTMLQuirksMode quirksModeForDoctype(const HTMLDOCTYPEToken& doctype) {
    if (doctype.forceQuirks || doctype.name.value_or("") != "html") return HTMLQuirksMode::Quirks;
    const std::string publicId = lowered(doctype.publicIdentifier.value_or(""));
    const std::string systemId = lowered(doctype.systemIdentifier.value_or(""));
    const bool hasSystemId = doctype.systemIdentifier.has_value();

    if (publicId == "-//w3o//dtd w3 html strict 3.0//en//" || publicId == "-/w3c/dtd html 4.0 transitional/en" ||
        publicId == "html" || systemId == "http://www.ibm.com/data/dtd/v11/ibmxhtml1-transitional.dtd")
        return HTMLQuirksMode::Quirks;
    for (std::string_view prefix : kQuirkyPublicIdPrefixes)
        if (publicId.starts_with(prefix)) return HTMLQuirksMode::Quirks;

    const bool html401FramesetOrTransitional = publicId.starts_with("-//w3c//dtd html 4.01 frameset//") ||
                                               publicId.starts_with("-//w3c//dtd html 4.01 transitional//");
    if (html401FramesetOrTransitional && !hasSystemId) return HTMLQuirksMode::Quirks;
    if (publicId.starts_with("-//w3c//dtd xhtml 1.0 frameset//") ||
        publicId.starts_with("-//w3c//dtd xhtml 1.0 transitional//") || html401FramesetOrTransitional)
        return HTMLQuirksMode::LimitedQuirks;
    return HTMLQuirksMode::NoQuirks;
}

}  // namespace zv::html
