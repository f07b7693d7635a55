#include <zv/html/HTMLParser.h>
#include <zv/reading/SafeMessageView.h>
#include <zv/reading/TrackerDetection.h>

#include <gtest/gtest.h>

namespace {

using zv::TrackerKind;

struct Found {
    std::string body;
    std::vector<std::pair<std::string, std::string>> trackers;  // url, kind
};

Found prepareBlockingTrackers(const std::string& body, std::vector<std::string> readers = {}) {
    auto document = zv::html::HTMLParser("<!DOCTYPE html><body>" + body).parseDocument();
    zv::SafeViewOptions options{.allowRemoteContent = true, .blockTrackers = true, .readerAddresses = std::move(readers)};
    zv::SafeViewReport report = zv::prepareDocumentForSafeView(*document, options);
    Found found{document->body()->innerHTML(), {}};
    for (const zv::Tracker& tracker : report.trackers)
        found.trackers.emplace_back(tracker.url, std::string(zv::trackerKindName(tracker.kind)));
    return found;
}

// Each row: a body with remote content allowed but trackers blocked, and the
// trackers found. A tracker's reference points at the refused schemes; every
// other remote reference goes through the internal ones.
TEST(TrackerDetection, PixelsHiddenImagesAndNamedReadersAreNeverFetched) {
    struct Case {
        std::string body;
        std::vector<std::pair<std::string, std::string>> trackers;
    };
    const Case cases[] = {
        {"<img src=\"https://t.example/a.gif\" width=\"1\" height=\"1\">", {{"https://t.example/a.gif", "pixel"}}},
        {"<img src=\"https://t.example/b.gif\" style=\"width:2px;height:1px\">", {{"https://t.example/b.gif", "pixel"}}},
        {"<img src=\"https://t.example/c.gif\" width=\"1\">", {{"https://t.example/c.gif", "pixel"}}},
        {"<img src=\"https://t.example/d.png\" srcset=\"https://t.example/d2.png 2x\" height=\"0\">",
         {{"https://t.example/d.png", "hidden"}, {"https://t.example/d2.png", "hidden"}}},
        {"<div style=\"display: NONE !important\"><p><img src=\"https://t.example/e.png\"></p></div>",
         {{"https://t.example/e.png", "hidden"}}},
        {"<img src=\"//t.example/f.png\" style=\"visibility:hidden\"><img hidden src=\"https://t.example/g.png\">"
         "<img style=\"opacity:0\" src=\"https://t.example/h.png\">",
         {{"//t.example/f.png", "hidden"}, {"https://t.example/g.png", "hidden"}, {"https://t.example/h.png", "hidden"}}},
        {"<img src=\"https://list.example/track/open.php?u=12&amp;id=34\">",
         {{"https://list.example/track/open.php?u=12&id=34", "pixel"}}},
        {"<img src=\"https://news.example/img/banner.png?email=bob%40example.org\">",
         {{"https://news.example/img/banner.png?email=bob%40example.org", "pixel"}}},
        // The reader's own address, percent-encoded or in base64, names the reader.
        {"<img src=\"https://news.example/i/bob%40example.org/logo.png\"><img src=\"https://news.example/i/Ym9iQGV4YW1wbGUub3Jn.png\">",
         {{"https://news.example/i/bob%40example.org/logo.png", "pixel"}, {"https://news.example/i/Ym9iQGV4YW1wbGUub3Jn.png", "pixel"}}},
        {"<div style=\"background:url(https://t.example/o/opened/x.gif)\">t</div>", {{"https://t.example/o/opened/x.gif", "pixel"}}},
        // Not trackers: ordinary pictures, a 1 px spacer 20 px high, a tracking word inside a longer name.
        {"<img src=\"https://news.example/photo.jpg\" width=\"600\" height=\"1\"><img src=\"https://news.example/s.gif\" "
         "width=\"1\" height=\"20\"><img src=\"https://news.example/tracks/album.jpg\">",
         {}},
    };
    for (const Case& c : cases) {
        Found found = prepareBlockingTrackers(c.body, {"Bob@example.org"});
        EXPECT_EQ(found.trackers, c.trackers) << c.body;
        std::size_t excluded = 0;
        for (std::size_t at = found.body.find("wren-exclude-http"); at != std::string::npos;
             at = found.body.find("wren-exclude-http", at + 1))
            ++excluded;
        EXPECT_EQ(excluded, c.trackers.size()) << found.body;
    }
    EXPECT_EQ(prepareBlockingTrackers("<img src=\"https://news.example/photo.jpg\">").body,
              "<img src=\"wren-https://news.example/photo.jpg\">");
}

TEST(TrackerDetection, LinksLoseTrackingParametersAndNothingElse) {
    Found found = prepareBlockingTrackers(
        "<a href=\"https://shop.example/p?id=7&amp;utm_source=news&amp;UTM_Medium=mail&amp;fbclid=abc#top\">a</a>"
        "<a href=\"https://shop.example/q?utm_campaign=x\">b</a><a href=\"https://shop.example/r?page=2\">c</a>");
    EXPECT_EQ(found.body, "<a href=\"https://shop.example/p?id=7#top\">a</a><a href=\"https://shop.example/q\">b</a>"
                          "<a href=\"https://shop.example/r?page=2\">c</a>");
    ASSERT_EQ(found.trackers.size(), 2u);
    EXPECT_EQ(found.trackers[0].first, "https://shop.example/p?id=7&utm_source=news&UTM_Medium=mail&fbclid=abc#top");
    EXPECT_EQ(found.trackers[1].second, "parameter");

    const std::pair<const char*, const char*> cleaned[] = {
        {"https://x.example/?gclid=1&a=b&mc_eid=2&_hsenc=3", "https://x.example/?a=b"},
        {"https://x.example/?a&&b=", nullptr},
        {"https://x.example/path#utm_source=x", nullptr},
        {"mailto:a@x.example?subject=hi&utm_medium=email", "mailto:a@x.example?subject=hi"},
    };
    for (auto [url, expected] : cleaned) {
        auto result = zv::withoutTrackingParameters(url);
        EXPECT_EQ(result, expected ? std::optional<std::string>(expected) : std::nullopt) << url;
    }
}

TEST(TrackerDetection, NothingIsReportedOrChangedUnlessAsked) {
    const std::string body = "<img src=\"https://t.example/a.gif\" width=\"1\" height=\"1\"><a href=\"https://x.example/?utm_source=y\">l</a>";
    auto document = zv::html::HTMLParser("<body>" + body).parseDocument();
    zv::SafeViewOptions options;
    options.allowRemoteContent = true;
    zv::SafeViewReport report = zv::prepareDocumentForSafeView(*document, options);
    EXPECT_TRUE(report.trackers.empty());
    EXPECT_EQ(document->body()->innerHTML(),
              "<img src=\"wren-https://t.example/a.gif\" width=\"1\" height=\"1\"><a href=\"https://x.example/?utm_source=y\">l</a>");
}

}  // namespace
