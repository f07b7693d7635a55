#include <zv/html/HTMLParser.h>
#include <zv/reading/LinkJudgement.h>

#include <gtest/gtest.h>

namespace {

// Judged by hand: each row is a link as a message might carry it and what a
// careful reader would say of it (nullptr: honest; else words the warning
// must contain).
TEST(LinkJudgement, HonestAndDeceptiveLinks) {
    struct Case {
        const char* text;
        const char* href;
        const char* warning;
    };
    const Case cases[] = {
        {"Read more", "https://news.bbc.co.uk/story/1", nullptr},
        {"www.mybank.com", "https://login.mybank.com/session", nullptr},
        {"https://MyBank.com/", "http://mybank.com", nullptr},
        {"bbc.co.uk", "https://www.bbc.co.uk/news", nullptr},
        {"Write to us", "mailto:help@shop.com?subject=Order", nullptr},
        {"+44 20 7946 0000", "tel:+442079460000", nullptr},
        {"Top", "#top", nullptr},
        {"file.pdf", "https://cdn.shop.com/file.pdf", nullptr},
        {"version 2.0 notes", "https://shop.com/notes", nullptr},
        {"пример.рф", "https://xn--e1afmkfd.xn--p1ai/", nullptr},
        {"münchen.de", "https://xn--mnchen-3ya.de/", nullptr},
        {"commons-email-1.2.zip", "https://mirror.at/commons-email-1.2.zip", nullptr},
        {"www.shop.com", "https://clicktime.symantec.com/39e8Te?u=http%3A%2F%2Fwww.shop.com%2F", nullptr},
        {"help.shop.com", "https://urldefense.proofpoint.com/v2/url?u=https-3A__help.shop.com_ticket&d=DwQ", nullptr},
        {"www.mybank.com", "https://mybank.com.secure-login.net/", "mybank.com, link goes to secure-login.net"},
        {"mybank.com", "https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fevil.net%2F&data=1", "goes to evil.net"},
        {"<https://paypal.com/>", "http://paypa1.com/signin", "paypal.com, link goes to paypa1.com"},
        {"Your account", "https://mybank.com@evil.net/login", "user name"},
        {"Your account", "https://mybank.com:pw@evil.net/", "evil.net"},
        {"Invoice", "http://192.168.10.5/invoice", "numeric host"},
        {"http://192.168.10.5/", "http://192.168.10.5/invoice", nullptr},
        {"Invoice", "http://3232235781/", "numeric host"},
        {"Invoice", "http://0x7f.1/", "numeric host"},
        {"Invoice", "http://[::1]:8080/", "numeric host"},
        {"Apple", "https://xn--80ak6aa92e.com/", "looks like"},
        {"PayPal", "https://pаypal.com/", "mixed scripts"},
        {"Click", "javascript:alert(1)", "javascript:"},
        {"Open", "file:///home/bob/.ssh/id_rsa", "file:"},
        {"Share", "smb://evil.net/share", "smb:"},
        {"Image", "data:text/html,<script>x</script>", "data:"},
        // Browsers drop tabs and line breaks inside an address.
        {"mybank.com", "ht\ttps://evil.net/", "link goes to evil.net"},
        {"Click", "java\nscript:alert(1)", "javascript:"},
        {"mybank.com", "https://my\r\nbank.com/", nullptr},
    };
    for (const Case& c : cases) {
        std::optional<std::string> warning = zv::linkWarning(c.text, c.href);
        if (!c.warning) {
            EXPECT_EQ(warning, std::nullopt) << c.text << " → " << c.href;
            continue;
        }
        ASSERT_TRUE(warning) << c.text << " → " << c.href;
        EXPECT_NE(warning->find(c.warning), std::string::npos) << *warning;
    }
}

TEST(LinkJudgement, RegistrableDomainsFollowThePublicSuffixList) {
    EXPECT_EQ(zv::registrableDomain("news.bbc.co.uk"), "bbc.co.uk");
    EXPECT_EQ(zv::registrableDomain("A.B.Example.COM"), "example.com");
    EXPECT_EQ(zv::registrableDomain("user.github.io"), "user.github.io");
    EXPECT_EQ(zv::registrableDomain("co.uk"), "co.uk");
    EXPECT_EQ(zv::registrableDomain("www.münchen.de"), "xn--mnchen-3ya.de");
}

TEST(LinkJudgement, EveryLinkOfADocumentInOrder) {
    auto document = zv::html::HTMLParser(
                        "<p><a href=\" https://shop.com/a \">  Shop\n  now </a><a name=x>no href</a>"
                        "<a href=\"https://evil.net/\">shop.com</a><map><area alt=\"Map\" href=\"javascript:x\"></map>")
                        .parseDocument();
    std::vector<zv::JudgedLink> links = zv::judgeLinks(*document);
    ASSERT_EQ(links.size(), 3u);
    EXPECT_EQ(links[0].text, "Shop now");
    EXPECT_EQ(links[0].href, "https://shop.com/a");
    EXPECT_EQ(links[0].warning, std::nullopt);
    EXPECT_EQ(links[1].warning, "text shows shop.com, link goes to evil.net");
    EXPECT_EQ(links[2].text, "Map");
    EXPECT_TRUE(links[2].warning);
    // A long alt text is cut like a long visible text, on a character's boundary.
    std::string alt;
    for (int i = 0; i < 3000; ++i) alt += "\u00e9";
    links = zv::judgeLinks(*zv::html::HTMLParser("<map><area href=x alt=\"a" + alt + "\"></map>").parseDocument());
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(links[0].text, "a" + alt.substr(0, 4094));

    // SVG links each inside the last: each reads a bounded part of the
    // text it holds, not the rest of the chain, whose text would grow with
    // the square of its length.
    std::string chain = "<svg>";
    for (int i = 0; i < 10000; ++i) chain += "<a href=\"https://shop.com/\">shop ";
    links = zv::judgeLinks(*zv::html::HTMLParser(chain).parseDocument());
    ASSERT_EQ(links.size(), 10000u);
    EXPECT_LE(links[0].text.size(), 4096u);
    EXPECT_TRUE(links[0].text.starts_with("shop shop"));
    EXPECT_EQ(links.back().text, "shop");
}

}  // namespace
