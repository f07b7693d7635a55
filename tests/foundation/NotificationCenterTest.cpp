#include <zv/foundation/NotificationCenter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using zv::Notification;
using zv::NotificationCenter;

TEST(NotificationCenter, DeliversByNameAndSenderAsPosted) {
    NotificationCenter center;
    int webView = 0;
    int otherView = 0;
    std::vector<std::string> calls;
    auto record = [&calls](std::string who) {
        return [&calls, who](const Notification& n) {
            calls.push_back(who + ":" + (n.userInfo.is_null() ? "" : n.userInfo.value("URL", "")));
        };
    };
    center.addObserver("ResourceLoadFailed", &webView, record("thisView"));
    center.addObserver("ResourceLoadFailed", nullptr, record("anyView"));
    center.addObserver("", nullptr, record("everything"));
    center.addObserver("ContentSizeChanged", nullptr, record("otherName"));
    Notification seen;
    center.addObserver("ResourceLoadFailed", &webView, [&](const Notification& n) { seen = n; });

    center.post("ResourceLoadFailed", &webView, {{"URL", "cid:a"}});
    center.post("ResourceLoadFailed", &otherView, {{"URL", "cid:b"}});
    EXPECT_EQ(calls, (std::vector<std::string>{"thisView:cid:a", "anyView:cid:a", "everything:cid:a", "anyView:cid:b",
                                               "everything:cid:b"}));
    // The notification arrives as posted.
    EXPECT_EQ(seen.name, "ResourceLoadFailed");
    EXPECT_EQ(seen.object, &webView);
    EXPECT_EQ(seen.userInfo, (zv::Value{{"URL", "cid:a"}}));

    // A post without a sender reaches only observers that did not ask for one.
    calls.clear();
    center.post("ResourceLoadFailed");
    EXPECT_EQ(calls, (std::vector<std::string>{"anyView:", "everything:"}));
}

TEST(NotificationCenter, ObserversMayRemoveObserversWhileAPostRuns) {
    NotificationCenter center;
    int once = 0, removed = 0, stays = 0;
    zv::ObserverToken selfRemoving, victim;
    selfRemoving = center.addObserver("tick", nullptr, [&](const Notification&) {
        ++once;
        center.removeObserver(selfRemoving);
        center.removeObserver(victim);  // not yet reached in this post
    });
    victim = center.addObserver("tick", nullptr, [&](const Notification&) { ++removed; });
    center.addObserver("tick", nullptr, [&](const Notification&) { ++stays; });

    center.post("tick");
    center.post("tick");
    EXPECT_EQ(once, 1);
    EXPECT_EQ(removed, 0);
    EXPECT_EQ(stays, 2);

    // Stale and empty tokens are ignored.
    center.removeObserver(selfRemoving);
    center.removeObserver({});
    center.post("tick");
    EXPECT_EQ(stays, 3);
}

TEST(NotificationCenter, ObserversMayPostAndAddObservers) {
    NotificationCenter center;
    std::vector<std::string> calls;
    center.addObserver("first", nullptr, [&](const Notification&) {
        calls.push_back("first");
        center.addObserver("first", nullptr, [&](const Notification&) { calls.push_back("added"); });
        center.post("second");
    });
    center.addObserver("second", nullptr, [&](const Notification&) { calls.push_back("second"); });
    center.post("first");
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "second"}));
}

TEST(NotificationCenter, ManyThreadsPostAddAndRemoveAtOnce) {
    NotificationCenter center;
    std::atomic<int> delivered{0};
    center.addObserver("count", nullptr, [&](const Notification&) { ++delivered; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&center, t] {
            for (int i = 0; i < 500; ++i) {
                auto token = center.addObserver("noise", &t, [](const Notification&) {});
                center.post("count", &t);
                center.post("noise", &t);
                center.removeObserver(token);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(delivered.load(), 4 * 500);
}

TEST(NotificationCenter, TheDefaultCenterIsOneObject) {
    int calls = 0;
    auto token = NotificationCenter::defaultCenter().addObserver("zv.test.default", nullptr,
                                                                  [&](const Notification&) { ++calls; });
    NotificationCenter::defaultCenter().post("zv.test.default");
    NotificationCenter::defaultCenter().removeObserver(token);
    NotificationCenter::defaultCenter().post("zv.test.default");
    EXPECT_EQ(calls, 1);
}

}  // namespace
