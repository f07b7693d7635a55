#include "HTMLForeignContent.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zv::html {

namespace {

using NamePair = std::pair<std::string_view, std::string_view>;

// Both tables are sorted by their lower-case key for binary search.
constexpr std::array kSVGTagNames = {
    NamePair{"altglyph", "altGlyph"},
    NamePair{"altglyphdef", "altGlyphDef"},
    NamePair{"altglyphitem", "altGlyphItem"},
    NamePair{"animatecolor", "animateColor"},
    NamePair{"animatemotion", "animateMotion"},
    NamePair{"animatetransform", "animateTransform"},
    NamePair{"clippath", "clipPath"},
    NamePair{"feblend", "feBlend"},
    NamePair{"fecolormatrix", "feColorMatrix"},
    NamePair{"fecomponenttransfer", "feComponentTransfer"},
    NamePair{"fecomposite", "feComposite"},
    NamePair{"feconvolvematrix", "feConvolveMatrix"},
    NamePair{"fediffuselighting", "feDiffuseLighting"},
    NamePair{"fedisplacementmap", "feDisplacementMap"},
    NamePair{"fedistantlight", "feDistantLight"},
    NamePair{"fedropshadow", "feDropShadow"},
    NamePair{"feflood", "feFlood"},
    NamePair{"fefunca", "feFuncA"},
    NamePair{"fefuncb", "feFuncB"},
    NamePair{"fefuncg", "feFuncG"},
    NamePair{"fefuncr", "feFuncR"},
    NamePair{"fegaussianblur", "feGaussianBlur"},
    NamePair{"feimage", "feImage"},
    NamePair{"femerge", "feMerge"},
    NamePair{"femergenode", "feMergeNode"},
    NamePair{"femorphology", "feMorphology"},
    NamePair{"feoffset", "feOffset"},
    NamePair{"fepointlight", "fePointLight"},
    NamePair{"fespecularlighting", "feSpecularLighting"},
    NamePair{"fespotlight", "feSpotLight"},
    NamePair{"fetile", "feTile"},
    NamePair{"feturbulence", "feTurbulence"},
    NamePair{"foreignobject", "foreignObject"},
    NamePair{"glyphref", "glyphRef"},
    NamePair{"lineargradient", "linearGradient"},
    NamePair{"radialgradient", "radialGradient"},
    NamePair{"textpath", "textPath"},
};

constexpr std::array kSVGAttributeNames = {
    NamePair{"attributename", "attributeName"},
    NamePair{"attributetype", "attributeType"},
    NamePair{"basefrequency", "baseFrequency"},
    NamePair{"baseprofile", "baseProfile"},
    NamePair{"calcmode", "calcMode"},
    NamePair{"clippathunits", "clipPathUnits"},
    NamePair{"diffuseconstant", "diffuseConstant"},
    NamePair{"edgemode", "edgeMode"},
    NamePair{"filterunits", "filterUnits"},
    NamePair{"glyphref", "glyphRef"},
    NamePair{"gradienttransform", "gradientTransform"},
    NamePair{"gradientunits", "gradientUnits"},
    NamePair{"kernelmatrix", "kernelMatrix"},
    NamePair{"kernelunitlength", "kernelUnitLength"},
    NamePair{"keypoints", "keyPoints"},
    NamePair{"keysplines", "keySplines"},
    NamePair{"keytimes", "keyTimes"},
    NamePair{"lengthadjust", "lengthAdjust"},
    NamePair{"limitingconeangle", "limitingConeAngle"},
    NamePair{"markerheight", "markerHeight"},
    NamePair{"markerunits", "markerUnits"},
    NamePair{"markerwidth", "markerWidth"},
    NamePair{"maskcontentunits", "maskContentUnits"},
    NamePair{"maskunits", "maskUnits"},
    NamePair{"numoctaves", "numOctaves"},
    NamePair{"pathlength", "pathLength"},
    NamePair{"patterncontentunits", "patternContentUnits"},
    NamePair{"patterntransform", "patternTransform"},
    NamePair{"patternunits", "patternUnits"},
    NamePair{"pointsatx", "pointsAtX"},
    NamePair{"pointsaty", "pointsAtY"},
    NamePair{"pointsatz", "pointsAtZ"},
    NamePair{"preservealpha", "preserveAlpha"},
    NamePair{"preserveaspectratio", "preserveAspectRatio"},
    NamePair{"primitiveunits", "primitiveUnits"},
    NamePair{"refx", "refX"},
    NamePair{"refy", "refY"},
    NamePair{"repeatcount", "repeatCount"},
    NamePair{"repeatdur", "repeatDur"},
    NamePair{"requiredextensions", "requiredExtensions"},
    NamePair{"requiredfeatures", "requiredFeatures"},
    NamePair{"specularconstant", "specularConstant"},
    NamePair{"specularexponent", "specularExponent"},
    NamePair{"spreadmethod", "spreadMethod"},
    NamePair{"startoffset", "startOffset"},
    NamePair{"stddeviation", "stdDeviation"},
    NamePair{"stitchtiles", "stitchTiles"},
    NamePair{"surfacescale", "surfaceScale"},
    NamePair{"systemlanguage", "systemLanguage"},
    NamePair{"tablevalues", "tableValues"},
    NamePair{"targetx", "targetX"},
    NamePair{"targety", "targetY"},
    NamePair{"textlength", "textLength"},
    NamePair{"viewbox", "viewBox"},
    NamePair{"viewtarget", "viewTarget"},
    NamePair{"xchannelselector", "xChannelSelector"},
    NamePair{"ychannelselector", "yChannelSelector"},
    NamePair{"zoomandpan", "zoomAndPan"},
};

template <size_t N>
constexpr bool isSorted(const std::array<NamePair, N>& table) {
    for (size_t i = 1; i < N; ++i)
        if (!(table[i - 1].first < table[i].first)) return false;
    return true;
}
static_assert(isSorted(kSVGTagNames) && isSorted(kSVGAttributeNames));

template <size_t N>
std::string_view lookup(const std::array<NamePair, N>& table, std::string_view key) noexcept {
    auto it = std::lower_bound(table.begin(), table.end(), key,
                               [](const NamePair& p, std::string_view k) { return p.first < k; });
    return it != table.end() && it->first == key ? it->second : std::string_view();
}

struct ForeignAttribute {
    std::string_view qualifiedName;
    std::string_view localName;
    AttributeNamespace ns;
};

constexpr std::array kForeignAttributes = {
    ForeignAttribute{"xlink:actuate", "actuate", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:arcrole", "arcrole", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:href", "href", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:role", "role", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:show", "show", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:title", "title", AttributeNamespace::XLink},
    ForeignAttribute{"xlink:type", "type", AttributeNamespace::XLink},
    ForeignAttribute{"xml:lang", "lang", AttributeNamespace::XML},
    ForeignAttribute{"xml:space", "space", AttributeNamespace::XML},
    ForeignAttribute{"xmlns", "xmlns", AttributeNamespace::XMLNS},
    ForeignAttribute{"xmlns:xlink", "xlink", AttributeNamespace::XMLNS},
};

}  // namespace

std::string_view adjustedSVGTagName(std::string_view name) noexcept {
    std::string_view adjusted = lookup(kSVGTagNames, name);
    return adjusted.empty() ? name : adjusted;
}

HTMLAttribute adjustedForeignAttribute(HTMLTokenAttribute&& attribute, Namespace elementNamespace) {
    HTMLAttribute result{std::move(attribute.name), std::move(attribute.value), AttributeNamespace::None};
    if (elementNamespace == Namespace::SVG) {
        if (std::string_view adjusted = lookup(kSVGAttributeNames, result.name); !adjusted.empty())
            result.name = adjusted;
    } else if (elementNamespace == Namespace::MathML && result.name == "definitionurl") {
        result.name = "definitionURL";
    }
    if (result.name.starts_with("xlink:") || result.name.starts_with("xml")) {
        for (const auto& foreign : kForeignAttributes) {
            if (foreign.qualifiedName == result.name) {
                result.name = foreign.localName;
                result.ns = foreign.ns;
                break;
            }
        }
    }
    return result;
}

bool breaksOutOfForeignContent(const HTMLTagToken& token) noexcept {
    switch (token.tag) {
    case Tag::b: case Tag::big: case Tag::blockquote: case Tag::body: case Tag::br:
    case Tag::center: case Tag::code: case Tag::dd: case Tag::div: case Tag::dl: case Tag::dt:
    case Tag::em: case Tag::embed: case Tag::h1: case Tag::h2: case Tag::h3: case Tag::h4:
    case Tag::h5: case Tag::h6: case Tag::head: case Tag::hr: case Tag::i: case Tag::img:
    case Tag::li: case Tag::listing: case Tag::menu: case Tag::meta: case Tag::nobr: case Tag::ol:
    case Tag::p: case Tag::pre: case Tag::ruby: case Tag::s: case Tag::small: case Tag::span:
    case Tag::strong: case Tag::strike: case Tag::sub: case Tag::sup: case Tag::table: case Tag::tt:
    case Tag::u: case Tag::ul: case Tag::var:
        return true;
    case Tag::font:
        return token.attribute("color") || token.attribute("face") || token.attribute("size");
    default:
        return false;
    }
}

}  // namespace zv::html
