// What each zvwk command prints for its input, as a user runs it: one table
// of arguments, input and output, every run exiting 0.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using ZvwkCommand = ZvwkTest;

TEST_F(ZvwkCommand, PrintsWhatEachCommandMakesOfItsInput) {
    const std::string file = write("doc.html", "<!DOCTYPE html><p class=a id='b'>x&amp;y<br/></p>\r\n<!--c--></p x>").string();
    const std::string bold = "<html><head></head><body><b>ok</b></body></html>\n";
    const std::string reply =
        "<html><head><title>Re: lunch</title><style>p{margin:0}</style></head><body>"
        "<p>Yes!<br><br></p><div id=zv-reply-separator>On Monday Ann wrote:</div>"
        "<blockquote type=cite><p>Lunch?</p></blockquote></body></html>";
    const std::string snippetPage = "<head><title>Subject</title></head><div>abc&nbsp;defgh ij</div><div>kl</div>";
    const std::string list =
        "<!DOCTYPE html><ul id=list><li class=a>one</li><li id=two>two &amp; <b>bold</b></li>"
        "<li class=a id=three>three</li></ul>";
    const std::string styled =
        "<!DOCTYPE html><html><head><style zv-scope=\"print\">p { color: red; }</style>"
        "<style>h1, p { margin: 0; }</style><style zv-scope=\"required\">p { x: 1; }</style></head>"
        "<body><h1>Hi</h1><p style=\"color: blue\">text</p></body></html>";
    // Without filters every head sheet but the required ones goes; filters
    // name the scopes to remove.
    const std::string purged =
        "<!DOCTYPE html><html><head><style zv-scope=\"required\">p { x: 1; }</style></head>"
        "<body><h1>Hi</h1><p style=\"color: blue\">text</p></body></html>\n";
    struct Case {
        std::string args;
        std::string input;
        std::string out;
        std::string err = "";
    };
    const Case cases[] = {
        // The tree in the test suite's format.
        {"parse -", "<!DOCTYPE html><p class=a id=b>x<svg viewbox='0 0 1 1'></svg>",
         "| <!DOCTYPE html>\n"
         "| <html>\n"
         "|   <head>\n"
         "|   <body>\n"
         "|     <p>\n"
         "|       class=\"a\"\n"
         "|       id=\"b\"\n"
         "|       \"x\"\n"
         "|       <svg svg>\n"
         "|         viewBox=\"0 0 1 1\"\n"},
        // <g> stays in SVG; <b> breaks out of foreign content into HTML.
        {"parse --fragment 'svg path' -", "<g>x</g><b>y</b>", "| <svg g>\n|   \"x\"\n| <b>\n|   \"y\"\n"},
        {"serialize -", "<p title='a\"b'>1 &lt; 2 &amp;&nbsp;3",
         "<html><head></head><body><p title=\"a&quot;b\">1 &lt; 2 &amp;&nbsp;3</p></body></html>\n"},
        // Launch arguments are taken anywhere and hidden from the command.
        {"-logZVWebKitErrors YES serialize -", "<b>ok</b>", bold},
        {"serialize - -logZVWebKitErrors YES", "<b>ok</b>", bold},
        // windows-1252 declared by <meta>, where 0x80 is the euro sign;
        // without a declaration the bytes are read as UTF-8.
        {"serialize -", "<meta charset=windows-1252><p>\xE9\x80</p>",
         "<html><head><meta charset=\"windows-1252\"></head><body><p>\xC3\xA9\xE2\x82\xAC</p></body></html>\n"},
        {"serialize -", "<p>\xC3\xA9</p>", "<html><head></head><body><p>\xC3\xA9</p></body></html>\n"},
        // Tokens in html5lib's format.
        {"tokenize '" + file + "'", "",
         R"([["DOCTYPE","html",null,null,true],["StartTag","p",{"class":"a","id":"b"}],)"
         R"(["Character","x&y"],["StartTag","br",{},true],["EndTag","p"],["Character","\n"],)"
         R"(["Comment","c"],["EndTag","p"]])"
         "\n"},
        {"tokenize --state rcdata --last-start-tag title -", "a<b>&amp;</x></title>z",
         R"([["Character","a<b>&</x>"],["EndTag","title"],["Character","z"]])" "\n"},
        {"text -", reply, "Yes!\nOn Monday Ann wrote:\n\n---->Lunch?\n"},
        {"text -", "", "\n"},
        // A fragment runs its top-level blocks together; a top-level style
        // element is the receiver of its own pipeline, so its text stays.
        {"text --fragment -", "<div>a</div>\n<div>b</div>", "ab\n"},
        {"text -", "<div>a</div>\n<div>b</div>", "a\nb\n"},
        {"text --fragment -", "<style>p{}</style> <p>x</p>", "p{}x\n"},
        {"text -", "<style>p{}</style> <p>x</p>", "x\n"},
        {"color Red", "", "255,0,0\n"},
        {"color DarkSlateGray", "", "47,79,79\n"},
        {"snippet -", "<title>Hi</title><p>Hello</p><p>World &amp;amp; more</p>", "HiHello World & more\n"},
        {"snippet -", "<script>only()</script>", "\n"},
        {"snippet --max 4 -", snippetPage, "Subje\n"},
        {"snippet --skip-title --max 4 --whole-words -", snippetPage, "abc\xC2\xA0" "defgh\n"},
        {"snippet --skip-head --invisible-spaces --max 4 --whole-words -", snippetPage, "abc defgh\n"},
        {"snippet --skip-head --preserve-breaks -", snippetPage, "abc\xC2\xA0" "defgh ij\nkl\n\n"},
        {"snippet --max 0 --skip-head -", snippetPage, "abc\xC2\xA0" "defgh ij kl\n"},
        {"select 'li.a, #two' -", list,
         "<li class=\"a\">one</li>\n<li id=\"two\">two &amp; <b>bold</b></li>\n<li class=\"a\" id=\"three\">three</li>\n"},
        {"select --json 'ul > :nth-child(-n+2)' -", list,
         R"([{"tag":"li","id":null,"outerHTML":"<li class=\"a\">one</li>"},)"
         R"({"tag":"li","id":"two","outerHTML":"<li id=\"two\">two &amp; <b>bold</b></li>"}])" "\n"},
        {"select --json 'table' -", list, "[]\n"},
        // A selector that does not parse finds nothing, with a warning.
        {"select 'li,' -", list, "", "zvwk: select: selector matches nothing: \"li,\" does not parse\n"},
        {"select --json '@media screen' -", list, "[]\n",
         "zvwk: select: selector matches nothing: \"@media screen\" does not parse\n"},
        {"purge-css -", styled, purged},
        // p's rules from all three sheets run together; p came before h1.
        // Without --purge the sheets stay.
        {"inline-css -", styled,
         "<!DOCTYPE html><html><head><style zv-scope=\"print\">p { color: red; }</style>"
         "<style>h1, p { margin: 0; }</style><style zv-scope=\"required\">p { x: 1; }</style></head>"
         "<body><h1 style=\" margin: 0;\">Hi</h1><p style=\"color: blue color: red;margin: 0;x: 1;\">text</p>"
         "</body></html>\n"},
        {"purge-css --filter print --filter --invalid-filter-name-- -", styled, purged},
        {"purge-css --filter screen -", styled, styled + "\n"},
        {"inline-css --purge --scope print --scope required --exclude '^H1$' -", styled,
         "<!DOCTYPE html><html><head></head><body><h1>Hi</h1>"
         "<p style=\"color: blue color: red;x: 1;\">text</p></body></html>\n"},
        {"trackers --reader bob@example.org -", "<img src=\"https://x.example/a.png?to=bob%40example.org\">",
         "pixel https://x.example/a.png?to=bob%40example.org\n"},
        {"links --json -",
         "<a href=\"https://www.shop.com/a\">shop.com</a>"
         "<a href=\"https://shop.com.verify-account.net/\">www.shop.com</a><a href=\"http://10.0.0.7/login\">Log in</a>",
         "{\"file\":\"-\",\"links\":[{\"text\":\"shop.com\",\"href\":\"https://www.shop.com/a\",\"warning\":null},"
         "{\"text\":\"www.shop.com\",\"href\":\"https://shop.com.verify-account.net/\","
         "\"warning\":\"text shows shop.com, link goes to verify-account.net\"},"
         "{\"text\":\"Log in\",\"href\":\"http://10.0.0.7/login\",\"warning\":\"numeric host 10.0.0.7\"}]}\n"},
        {"links -", "<a href=\"https://bank.com@evil.net/\">Bank</a>",
         "! user name \"bank.com\" before the host evil.net: Bank <https://bank.com@evil.net/>\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        Outcome run = zvwk(c.args, c.input);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(run.out, c.out);
    }
}

}  // namespace
