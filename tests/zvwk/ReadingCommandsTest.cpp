// zvwk trackers and zvwk links as a user runs them, on messages judged by hand.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using ReadingCommands = ZvwkTest;

TEST_F(ReadingCommands, TrackersListsEachInputsTrackersAsJSON) {
    write("news.html",
          "<p>Hi</p><img src=\"https://cdn.shop.example/hero.jpg\" width=600 height=300>"
          "<img src=\"https://mail.shop.example/open?id=9\" width=1 height=1>"
          "<span style=\"display:none\"><img src=\"https://mail.shop.example/x.png\"></span>"
          "<a href=\"https://shop.example/sale?utm_source=mail&amp;page=2\">Sale</a>");
    write("plain.html", "<p>No pictures, no links.</p>");
    Outcome run = zvwk("trackers --json '" + (dir_ / "news.html").string() + "' '" + (dir_ / "plain.html").string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "{\"file\":\"" + (dir_ / "news.html").string() +
                  "\",\"trackers\":[{\"url\":\"https://mail.shop.example/open?id=9\",\"kind\":\"pixel\"},"
                  "{\"url\":\"https://mail.shop.example/x.png\",\"kind\":\"hidden\"},"
                  "{\"url\":\"https://shop.example/sale?utm_source=mail&page=2\",\"kind\":\"parameter\"}]}\n"
                  "{\"file\":\"" + (dir_ / "plain.html").string() + "\",\"trackers\":[]}\n");
    EXPECT_EQ(zvwk("trackers --reader bob@example.org -", "<img src=\"https://x.example/a.png?to=bob%40example.org\">").out,
              "pixel https://x.example/a.png?to=bob%40example.org\n");
    EXPECT_EQ(zvwk("trackers --reader", "").status, 2);
}

TEST_F(ReadingCommands, LinksJudgesEachLink) {
    Outcome run = zvwk("links --json -",
                       "<a href=\"https://www.shop.com/a\">shop.com</a>"
                       "<a href=\"https://shop.com.verify-account.net/\">www.shop.com</a>"
                       "<a href=\"http://10.0.0.7/login\">Log in</a>");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "{\"file\":\"-\",\"links\":[{\"text\":\"shop.com\",\"href\":\"https://www.shop.com/a\",\"warning\":null},"
              "{\"text\":\"www.shop.com\",\"href\":\"https://shop.com.verify-account.net/\","
              "\"warning\":\"text shows shop.com, link goes to verify-account.net\"},"
              "{\"text\":\"Log in\",\"href\":\"http://10.0.0.7/login\",\"warning\":\"numeric host 10.0.0.7\"}]}\n");
    EXPECT_EQ(zvwk("links -", "<a href=\"https://bank.com@evil.net/\">Bank</a>").out,
              "! user name \"bank.com\" before the host evil.net: Bank <https://bank.com@evil.net/>\n");
}

}  // namespace
