#include <zv/foundation/URL.h>

#include <gtest/gtest.h>

#include <glib.h>

namespace {

using zv::URL;

URL url(const char* text) {
    auto parsed = URL::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed.value_or(*URL::parse("about:blank"));
}

TEST(URL, SplitsIntoComponents) {
    URL u = url("HTTPS://user@Example.com:8443/a/b%20c.png?size=36&color=%23ff0000&flag&&x=#frag");
    EXPECT_EQ(u.scheme(), "https");
    EXPECT_EQ(u.user(), "user");
    EXPECT_EQ(u.host(), "Example.com");
    EXPECT_EQ(u.port(), 8443);
    EXPECT_EQ(u.percentEncodedPath(), "/a/b%20c.png");
    EXPECT_EQ(u.path(), "/a/b c.png");
    EXPECT_EQ(u.query(), "size=36&color=%23ff0000&flag&&x=");
    EXPECT_EQ(u.fragment(), "frag");
    EXPECT_EQ(u.lastPathComponent(), "b c.png");
    EXPECT_EQ(u.pathExtension(), "png");
    EXPECT_EQ(u.queryItems(), (std::vector<zv::URLQueryItem>{
                                  {"size", "36"}, {"color", "#ff0000"}, {"flag", std::nullopt}, {"x", ""}}));
    EXPECT_FALSE(u.isFileURL());
}

TEST(URL, SchemesWithoutAnAuthorityKeepEverythingInThePath) {
    URL symbol = url("wren-symbol:questionmark.square.dashed?size=36&weight=light&size=0");
    EXPECT_EQ(symbol.host(), std::nullopt);
    EXPECT_EQ(symbol.path(), "questionmark.square.dashed");
    EXPECT_EQ(symbol.port(), -1);
    ASSERT_EQ(symbol.queryItems().size(), 3u);
    EXPECT_EQ(symbol.queryItems()[2], (zv::URLQueryItem{"size", "0"}));

    URL cid = url("cid:part1.06090408.01060107@example.com");
    EXPECT_EQ(cid.scheme(), "cid");
    EXPECT_EQ(cid.path(), "part1.06090408.01060107@example.com");
    EXPECT_EQ(cid.query(), std::nullopt);
    EXPECT_TRUE(cid.queryItems().empty());

    // An empty authority is no host; an empty query is there but empty.
    EXPECT_EQ(url("file:///tmp/x").host(), std::nullopt);
    EXPECT_EQ(url("http://a/?").query(), "");
}

TEST(URL, ResolvesReferencesAgainstABase) {
    URL page = url("file:///r/en.lproj/page.html");
    struct Case {
        const char* base;
        const char* reference;
        const char* resolved;
    } cases[] = {
        {"file:///r/en.lproj/page.html", "../b.css", "file:///r/b.css"},
        {"file:///r/en.lproj/page.html", "img/x.png", "file:///r/en.lproj/img/x.png"},
        {"file:///r/en.lproj/page.html", "/abs.html", "file:///abs.html"},
        {"file:///r/en.lproj/page.html", "  #top ", "file:///r/en.lproj/page.html#top"},
        {"file:///r/en.lproj/page.html", "https://other.example/x", "https://other.example/x"},
        {"http://a/b/c/d;p?q", "g", "http://a/b/c/g"},
        {"http://a/b/c/d;p?q", "./", "http://a/b/c/"},
        {"http://a/b/c/d;p?q", "../../../../g", "http://a/g"},
        {"http://a/b/c/d;p?q", "?y", "http://a/b/c/d;p?y"},
        {"http://a/b/c/d;p?q", "//g", "http://g"},
        {"http://a/b/c/d;p?q", "g?y#s", "http://a/b/c/g?y#s"},
        {"http://a/b/c/d;p?q", "", "http://a/b/c/d;p?q"},
        {"http://a/b/c/d;p?q", "h t", "http://a/b/c/h%20t"},
    };
    for (const auto& c : cases) {
        auto resolved = URL::parse(c.reference, url(c.base));
        ASSERT_TRUE(resolved) << c.reference;
        EXPECT_EQ(resolved->string(), c.resolved) << c.reference;
    }
    EXPECT_EQ(page.resolved("../b.css"), URL::parse("file:///r/b.css"));
}

TEST(URL, BadInputGivesNothing) {
    for (const char* text : {"", "   ", "no scheme", "relative/path.html", "://x", "http://exa mple.com/",
                             "http://host:99999/", "http://[::1/", "http://a/%zz", "http://a/b\nc", "http://a\x7F/",
                             "http://\"quoted\"/", "https://a%2F.b/", "https://a%3Fb/", "https://a%23b/",
                             "https://a%40b/", "https://a%3Ab/", "https://a%2525b/"}) {
        EXPECT_FALSE(URL::parse(text)) << text;
    }
    EXPECT_FALSE(URL::parse(std::string_view("http://a/\0b", 11)));
    // Parsed by GLib, but not written out again.
    EXPECT_FALSE(URL::parse("httPs:/o;ser@Host.\xC1\x93\xC0\x87=1&y&t/..//user@Host.El?x&El?x&%A9#frag"));
    URL base = url("http://a/b/");
    EXPECT_FALSE(URL::parse("http://a/%zz", base));
    EXPECT_FALSE(URL::parse("x\ty", base));
    EXPECT_FALSE(base.resolved("//bad host/"));
}

TEST(URL, FileURLsAndPaths) {
    auto file = URL::fromFilePath("/tmp/a b#c?.html");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->string(), "file:///tmp/a%20b%23c%3F.html");
    EXPECT_TRUE(file->isFileURL());
    EXPECT_EQ(file->filePath(), "/tmp/a b#c?.html");
    EXPECT_EQ(file->pathExtension(), "html");
    EXPECT_EQ(file->query(), std::nullopt);

    char* cwd = g_get_current_dir();
    auto relative = URL::fromFilePath("x/../page.html");
    ASSERT_TRUE(relative);
    EXPECT_EQ(relative->filePath(), std::string(cwd) + "/page.html");
    g_free(cwd);

    EXPECT_FALSE(URL::fromFilePath(""));
    EXPECT_EQ(url("file://localhost/etc/hosts").filePath(), "/etc/hosts");
    EXPECT_EQ(url("file://server/share/x").filePath(), std::nullopt);
    EXPECT_EQ(url("https://host/x").filePath(), std::nullopt);
}

TEST(URL, DerivedURLs) {
    URL page = url("zvfile:///r/en.lproj/page.html?x=1#f");
    EXPECT_EQ(page.withScheme("file"), URL::parse("file:///r/en.lproj/page.html?x=1#f"));
    EXPECT_FALSE(page.withScheme("bad scheme"));
    URL folder = page.deletingLastPathComponent();
    EXPECT_EQ(folder.string(), "zvfile:///r/en.lproj/");
    EXPECT_EQ(folder.appendingPathComponent("parts/a b.html").string(), "zvfile:///r/en.lproj/parts/a%20b.html");
    EXPECT_EQ(url("http://h/dir/").deletingLastPathComponent().string(), "http://h/");
    EXPECT_EQ(url("http://h").appendingPathComponent("x%y").string(), "http://h/x%25y");
    EXPECT_EQ(url("http://h/a/b/").lastPathComponent(), "b");
    EXPECT_EQ(url("http://h/").lastPathComponent(), "");
    EXPECT_EQ(url("http://h/.hidden").pathExtension(), "");
    EXPECT_EQ(url("http://h/archive.tar.gz").pathExtension(), "gz");
}

TEST(URL, EqualWhenTheTextFormsAre) {
    EXPECT_EQ(url("HTTP://h/a b"), url("http://h/a%20b"));
    EXPECT_NE(url("http://h/a"), url("http://H/a"));
    EXPECT_NE(url("http://h/a"), url("http://h/a/"));
}

}  // namespace
