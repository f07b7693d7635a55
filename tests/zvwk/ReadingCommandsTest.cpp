// zvwk trackers over files, on messages judged by hand.
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
}

}  // namespace
