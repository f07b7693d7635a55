// Purging head style sheets by scope.
#include <zv/css/HeadCSSPurge.h>

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

namespace {

using zv::html::HTMLDocument;
using zv::html::Ref;

// Every style sheet a purge could touch: scoped, unscoped, required, one a
// level down in the head, one in the body, and an external sheet.
const char* kMessage =
    "<head><style id=print zv-scope=print>p{}</style><style id=screen zv-scope=screen>p{}</style>"
    "<style id=unscoped>p{}</style><style id=required zv-scope=required>p{}</style>"
    "<style id=Required zv-scope=Required>p{}</style>"
    "<style id=sentinel zv-scope=--invalid-filter-name-->p{}</style>"
    "<noscript><style id=nested>p{}</style></noscript><link id=link rel=stylesheet href=a.css></head>"
    "<body><style id=body>p{}</style><p>text</p></body>";

// The ids of the style and link elements left, in document order.
std::string sheetsLeft(const HTMLDocument& document) {
    std::string ids;
    for (const auto* element : document.querySelectorAll("style, link")) {
        if (!ids.empty()) ids += ' ';
        ids += element->elementId();
    }
    return ids;
}

std::string afterPurge(const std::vector<std::string>& filters) {
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(kMessage);
    zv::purgeHeadCSSWithFilters(*document, filters);
    return sheetsLeft(*document);
}

TEST(HeadCSSPurge, NoFiltersRemoveEveryHeadSheetButRequiredOnes) {
    EXPECT_EQ(afterPurge({}), "required link body");
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(kMessage);
    zv::purgeHeadCSSForPlainContent(*document);
    EXPECT_EQ(sheetsLeft(*document), "required link body");
    // The nested sheet went from its own parent, which stays.
    EXPECT_NE(document->head()->querySelector("noscript"), nullptr);
}

TEST(HeadCSSPurge, FiltersRemoveOnlyTheirScopesAndNeverRequiredSheets) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"print"}, "screen unscoped required Required sentinel nested link body"},
        {{"screen", "print", "elsewhere"}, "unscoped required Required sentinel nested link body"},
        // Scopes are exact: "Print" is another scope, "Required" is not required.
        {{"Print"}, "print screen unscoped required Required sentinel nested link body"},
        {{"Required"}, "print screen unscoped required sentinel nested link body"},
        // The sentinel names the unscoped sheets.
        {{"--invalid-filter-name--"}, "print screen required Required link body"},
        {{"required"}, "print screen unscoped required Required sentinel nested link body"},
        {{"required", "print"}, "screen unscoped required Required sentinel nested link body"},
    };
    for (const auto& [filters, left] : cases) EXPECT_EQ(afterPurge(filters), left) << filters.front();
}

TEST(HeadCSSPurge, ADocumentWithoutABodyKeepsItsSheets) {
    Ref<HTMLDocument> bodiless = HTMLDocument::documentWithString("<head><style id=a>p{}</style></head>");
    bodiless->documentElement()->removeChildNode(bodiless->body());
    zv::purgeHeadCSSForPlainContent(*bodiless);
    EXPECT_EQ(sheetsLeft(*bodiless), "a");

    Ref<HTMLDocument> headless = HTMLDocument::documentWithString("<body><style id=b>p{}</style>");
    headless->documentElement()->removeChildNode(headless->head());
    zv::purgeHeadCSSWithFilters(*headless, {});
    EXPECT_EQ(sheetsLeft(*headless), "b");

    zv::purgeHeadCSSForPlainContent(*HTMLDocument::create());
}

TEST(HeadCSSPurge, AHeadWithoutSheetsIsLeftAsItIs) {
    Ref<HTMLDocument> document =
        HTMLDocument::documentWithString("<head><title>t</title><link rel=stylesheet href=a></head><body><p>x");
    const std::string before = zv::html::serializeNode(*document);
    zv::purgeHeadCSSForPlainContent(*document);
    EXPECT_EQ(zv::html::serializeNode(*document), before);
}

}  // namespace
