#include <zv/html/HTMLParser.h>
#include <zv/reading/SafeMessageView.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

using zv::html::HTMLParser;

struct Prepared {
    std::string html;
    std::vector<std::string> remoteURLs;
};

Prepared prepare(const std::string& body, bool allowRemote = false) {
    auto document = HTMLParser("<!DOCTYPE html><html><head></head><body>" + body).parseDocument();
    zv::SafeViewOptions options;
    options.allowRemoteContent = allowRemote;
    zv::SafeViewReport report = zv::prepareDocumentForSafeView(*document, options);
    return {document->body()->innerHTML(), report.remoteURLs};
}

using URLs = std::vector<std::string>;

// Each row: a body, the remote URLs found in it (in the parsed form), and the
// body after rewriting with remote content allowed.
struct Case {
    const char* body;
    URLs remote;
    const char* allowed;
};

TEST(SafeMessageView, RemoteReferencesFoundWhereverTheyFetch) {
    const Case cases[] = {
        {"<img srcset=\",,,,,https://x.example/a\">", {"https://x.example/a"},
         "<img srcset=\",,,,,wren-https://x.example/a\">"},
        {"<img srcset=\"a.png 1x, https://x.example/b.png 2x\">", {"https://x.example/b.png"},
         "<img srcset=\"a.png 1x, wren-https://x.example/b.png 2x\">"},
        // No space after the comma: one URL, as browsers read it.
        {"<img srcset=\"http://x.example/a.png,http://x.example/b.png\">", {"http://x.example/a.png,http://x.example/b.png"},
         "<img srcset=\"wren-http://x.example/a.png,http://x.example/b.png\">"},
        {"<img srcset=\"data:image/png;base64,AA 1x,https://x.example/c.png (2x, 3x), //x.example/d.png\">",
         {"https://x.example/c.png", "//x.example/d.png"},
         "<img srcset=\"data:image/png;base64,AA 1x,wren-https://x.example/c.png (2x, 3x), wren-https://x.example/d.png\">"},
        // A control character after the comma keeps the candidate going (it is
        // not white space); "//x.example/b.png" is a descriptor and stays one.
        {"<img srcset=\"http://x.example/a.png,\x04 //x.example/b.png 2x\">", {"http://x.example/a.png,"},
         "<img srcset=\"wren-http://x.example/a.png,\x04 //x.example/b.png 2x\">"},
        {"<picture><source imagesrcset=\"https://x.example/e.png,,\"></picture>", {"https://x.example/e.png"},
         "<picture><source imagesrcset=\"wren-https://x.example/e.png,,\"></picture>"},
        {"<div style=\"background:URL( 'https://x.example/f.png' ); content:'https://x.example/text'\">t</div>",
         {"https://x.example/f.png"},
         "<div style=\"background:URL( 'wren-https://x.example/f.png' ); content:'https://x.example/text'\">t</div>"},
        {"<p style=\"background-image:-webkit-image-set('http://x.example/g.png' 1x, url(//x.example/h.png) 2x)"
         "/* url(https://x.example/comment) */\">t</p>",
         {"http://x.example/g.png", "//x.example/h.png"},
         "<p style=\"background-image:-webkit-image-set('wren-http://x.example/g.png' 1x, "
         "url(wren-https://x.example/h.png) 2x)/* url(https://x.example/comment) */\">t</p>"},
        // CSS escapes in names and URLs: the engine reads these as url(http://…) and image-set('https://…').
        {"<p style=\"background:u\\72 l(\\68ttp://x.example/y.png);mask:image-s\\65t('\\68 ttps://x.example/z\\(1\\).png' 1x)\">t</p>",
         {"http://x.example/y.png", "https://x.example/z(1).png"},
         "<p style=\"background:u\\72 l(wren-http://x.example/y.png);mask:image-s\\65t('wren-https://x.example/z\\28 1\\29 .png' 1x)\">t</p>"},
        // var() puts a custom property's string into the image-set.
        {"<p style=\"--u: 'https://x.example/v.png'; --t: 'text'; background:image-set(var(--u) 1x)\">t</p>",
         {"https://x.example/v.png"},
         "<p style=\"--u: 'wren-https://x.example/v.png'; --t: 'text'; background:image-set(var(--u) 1x)\">t</p>"},
        {"<style>@import \"https://x.example/i.css\"; p { background: url(http://x.example/j.png) }</style>",
         {"https://x.example/i.css", "http://x.example/j.png"},
         "<style>@import \"wren-https://x.example/i.css\"; p { background: url(wren-http://x.example/j.png) }</style>"},
        // The URL parser drops tabs and line feeds, so this is https.
        {"<img src=\" ht&#9;tps://x.example/k.png\">", {"https://x.example/k.png"},
         "<img src=\"wren-https://x.example/k.png\">"},
        {"<svg><image href=\"https://x.example/l.png\"></image><use xlink:href=\"HTTP://x.example/m.svg#a\"></use>"
         "<a href=\"https://x.example/n\">n</a></svg>",
         {"https://x.example/l.png", "HTTP://x.example/m.svg#a"},
         "<svg><image href=\"wren-https://x.example/l.png\"></image><use xlink:href=\"wren-http://x.example/m.svg#a\">"
         "</use><a href=\"https://x.example/n\">n</a></svg>"},
        // SVG presentation attributes are CSS values.
        {"<svg><rect mask=\"url(https://x.example/m.png)\" filter=\"url('//x.example/f.svg#f')\" fill=\"url(#p)\"></rect></svg>",
         {"https://x.example/m.png", "//x.example/f.svg#f"},
         "<svg><rect mask=\"url(wren-https://x.example/m.png)\" filter=\"url('wren-https://x.example/f.svg#f')\" fill=\"url(#p)\"></rect></svg>"},
        {"<svg><rect><set attributeName=\"mask\" to=\"url(https://x.example/s.png)\"></set><animate attributeName=\"mask\" "
         "values=\"url(http://x.example/a.png);none\"></animate></rect></svg>",
         {"https://x.example/s.png", "http://x.example/a.png"},
         "<svg><rect><set attributeName=\"mask\" to=\"url(wren-https://x.example/s.png)\"></set><animate attributeName=\"mask\" "
         "values=\"url(wren-http://x.example/a.png);none\"></animate></rect></svg>"},
        {"<table background=\"https://x.example/o.png\"><tbody><tr><td>c</td></tr></tbody></table>"
         "<video poster=\"http://x.example/p.png\"></video><object data=\"//x.example/q\"></object>",
         {"https://x.example/o.png", "http://x.example/p.png", "//x.example/q"},
         "<table background=\"wren-https://x.example/o.png\"><tbody><tr><td>c</td></tr></tbody></table>"
         "<video poster=\"wren-http://x.example/p.png\"></video><object data=\"wren-https://x.example/q\"></object>"},
        // Against an http(s) base a browser reads backslashes as slashes.
        {"<img src=\"\\\\x.example/a.png\"><img src=\"/\\x.example/b.png\"><img src=\"http:\\\\x.example\\c.png?q=\\\">",
         {"//x.example/a.png", "//x.example/b.png", "http://x.example/c.png?q=\\"},
         "<img src=\"wren-https://x.example/a.png\"><img src=\"wren-https://x.example/b.png\">"
         "<img src=\"wren-http://x.example/c.png?q=\\\">"},
        // The internal schemes named by the message itself are remote references too.
        {"<img src=\"WREN-HTTPS://x.example/u.png\"><img src=\"wren-http://x.example/v.png\">",
         {"https://x.example/u.png", "http://x.example/v.png"},
         "<img src=\"wren-https://x.example/u.png\"><img src=\"wren-http://x.example/v.png\">"},
        // An SVG style sheet may hold elements; rewriting its text drops them.
        {"<svg><style>p { background: url(http://x.example/w.png) }<g><image href=\"https://x.example/x.png\"></image>"
         "</g></style></svg>",
         {"http://x.example/w.png"},
         "<svg><style>p { background: url(wren-http://x.example/w.png) }</style></svg>"},
        // Links stay, pings and everything that fetches or redirects by itself go.
        {"<a href=\"https://x.example/r\" ping=\"https://x.example/track\">r</a><link rel=stylesheet href=\"https://x.example/s.css\">"
         "<base href=\"https://x.example/\"><meta http-equiv=refresh content=\"0;url=https://x.example/\"><img src=\"cid:t@u\">",
         {},
         "<a href=\"https://x.example/r\">r</a><img src=\"cid:t@u\">"},
    };
    for (const Case& c : cases) {
        Prepared allowed = prepare(c.body, true);
        EXPECT_EQ(allowed.remoteURLs, c.remote) << c.body;
        EXPECT_EQ(allowed.html, c.allowed) << c.body;
        Prepared blocked = prepare(c.body, false);
        EXPECT_EQ(blocked.remoteURLs, c.remote) << c.body;
        EXPECT_EQ(blocked.html.find("wren-http"), std::string::npos) << c.body;
        size_t excluded = 0;
        for (size_t at = blocked.html.find("wren-exclude-http"); at != std::string::npos;
             at = blocked.html.find("wren-exclude-http", at + 1))
            ++excluded;
        EXPECT_EQ(excluded, c.remote.size()) << "blocked ones point at the refused schemes: " << blocked.html;
    }
}

TEST(SafeMessageView, PolicyComesFirstAndAllowsRemoteOnlyWhenAsked) {
    for (bool allow : {false, true}) {
        auto document = HTMLParser("<head><title>t</title></head><p>x").parseDocument();
        zv::SafeViewOptions options;
        options.allowRemoteContent = allow;
        zv::prepareDocumentForSafeView(*document, options);
        std::string head = document->head()->innerHTML();
        std::string expected = "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src cid: data: wren-symbol:" +
                               std::string(allow ? " wren-http: wren-https:" : "") +
                               "; style-src 'unsafe-inline'; font-src cid: data:; media-src cid: data:" +
                               std::string(allow ? " wren-http: wren-https:" : "") + "\"><title>t</title>";
        EXPECT_EQ(head, expected);
    }
}

// Blocked, a picture leaves a box saying what it is and how large it was
// declared, the refused image hidden inside; what a reader would not see
// anyway gets none, and shown remote content needs none.
TEST(SafeMessageView, BlockedImagesLeaveAPlaceholder) {
    struct Case {
        const char* body;
        const char* text;  // the placeholder's text (label, then size); null: no placeholder
        const char* box;   // part of its style
    } cases[] = {
        {"<img src=\"https://x.example/b.png\" alt=\" Garden  Notes \" width=\"560\" height=\"120\">",
         "Garden  Notes560 × 120", "width:560px;height:120px;"},
        {"<img src=\"https://x.example/pics/tulips.jpg?id=4\" style=\"width:260px; height:150.4px\" height=\"9\">",
         "tulips.jpg260 × 150", "width:260px;height:150px;"},
        {"<img srcset=\"https://x.example/a.png 1x, https://x.example/b.png 2x\" width=\"600\">", "a.png600 wide",
         "width:600px;min-height:36px;"},
        {"<img src=\"//cdn.example/\" alt=\"\" width=\"300\" height=\"100\">", "300 × 100", "width:300px;height:100px;"},
        {"<img src=\"https://cdn.example/\">", "cdn.example", "padding:1px 6px;"},
        {"<img src=\"https://x.example/f.png\" alt=\"Facebook\" width=\"24\" height=\"24\" style=\"display:block\">",
         "Facebook24 × 24", "padding:1px 6px;display:flex;"},
        {"<img src=\"https://x.example/o.gif\" width=\"1\" height=\"1\">", nullptr, nullptr},
        {"<div style=\"display:none\"><img src=\"https://x.example/h.png\" alt=\"h\"></div>", nullptr, nullptr},
        {"<img src=\"https://x.example/spacer.gif\" alt=\"\">", nullptr, nullptr},
        {"<img src=\"cid:a@b\" srcset=\"https://x.example/a.png 2x\" alt=\"a\">", nullptr, nullptr},
    };
    for (const Case& c : cases) {
        for (bool allow : {false, true}) {
            auto document = HTMLParser(std::string("<body>") + c.body).parseDocument();
            zv::prepareDocumentForSafeView(*document, {.allowRemoteContent = allow, .readerAddresses = {}});
            zv::html::HTMLElement* box = document->body()->querySelector("span[role=img]");
            if (!c.text || allow) {
                EXPECT_EQ(box, nullptr) << c.body << (allow ? " allowed" : "");
                continue;
            }
            ASSERT_NE(box, nullptr) << c.body;
            EXPECT_EQ(box->textContent(), c.text) << c.body;
            EXPECT_NE(box->attribute("style")->find(c.box), std::string::npos) << *box->attribute("style");
            zv::html::HTMLElement* image = box->querySelector("img");
            ASSERT_NE(image, nullptr) << c.body;
            EXPECT_TRUE(image->attribute("style")->ends_with("display:none !important")) << c.body;
        }
    }
}

// A stranger writes these attributes: each must cost one pass, so a message
// of them is ready long before the bound below.
TEST(SafeMessageView, HostileAttributesFinish) {
    std::string commas(1 << 20, ',');
    std::string opens;
    for (int i = 0; i < 100000; ++i) opens += "url(image-set(\"";
    std::string parens(1 << 20, '(');
    std::string body = "<img srcset=\"" + commas + "https://x.example/a\"><img srcset=\"https://x.example/b " + parens +
                       "\"><p style='" + opens + "'>t</p><style>" + opens + "</style>";
    auto done = std::async(std::launch::async, [&] { return prepare(body, true).remoteURLs.size(); });
    ASSERT_EQ(done.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "preparation stalled";
    EXPECT_EQ(done.get(), 2u);

    // SVG style elements each inside the last: the outer one's text holds
    // them all, and is read once.
    std::string nested = "<svg>";
    for (int i = 0; i < 60000; ++i) nested += "<style>a ";
    nested += "</svg><img src=\"https://x.example/after.png\">";
    auto sheets = std::async(std::launch::async, [&] { return prepare(nested, true).remoteURLs; });
    ASSERT_EQ(sheets.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "preparation stalled";
    EXPECT_EQ(sheets.get(), URLs{"https://x.example/after.png"});

    // Each blocked image is judged for hiding by the styles around it: a
    // long one around many images is still read once.
    std::string around = "<div style=\"";
    for (int i = 0; i < 20000; ++i) around += "color: red; ";
    around += "\">";
    for (int i = 0; i < 10000; ++i) around += "<img src=\"https://x.example/a.png\" alt=a>";
    auto judged = std::async(std::launch::async, [&] { return prepare(around, false).html; });
    ASSERT_EQ(judged.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "preparation stalled";
    std::string html = judged.get();
    std::size_t placeholders = 0;
    for (std::size_t at = html.find("role=\"img\""); at != std::string::npos; at = html.find("role=\"img\"", at + 1))
        ++placeholders;
    EXPECT_EQ(placeholders, 10000u);
}

}  // namespace
