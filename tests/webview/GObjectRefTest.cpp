#include <zv/foundation/GObjectRef.h>

#include <gtest/gtest.h>

namespace {

using zv::GObjectRef;

unsigned refCount(gpointer object) { return G_OBJECT(object)->ref_count; }

TEST(GObjectRef, AdoptTakesTheCallersReferenceAndRefAddsOne) {
    GObject* raw = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    g_object_ref(raw);  // a second owner, so the count can be read after the handles are gone
    {
        auto adopted = GObjectRef<GObject>::adopt(raw);
        EXPECT_EQ(refCount(raw), 2u);
        auto shared = GObjectRef<GObject>::ref(raw);
        EXPECT_EQ(refCount(raw), 3u);
        GObjectRef<GObject> copy = shared;
        EXPECT_EQ(refCount(raw), 4u);
        GObjectRef<GObject> moved = std::move(copy);
        EXPECT_EQ(refCount(raw), 4u);
        EXPECT_FALSE(copy);
        EXPECT_EQ(moved.get(), raw);
        moved = adopted;  // self-shared assignment keeps the count straight
        EXPECT_EQ(refCount(raw), 4u);
    }
    EXPECT_EQ(refCount(raw), 1u);
    g_object_unref(raw);
}

TEST(GObjectRef, FloatingReferencesAreSunkAndReleaseHandsTheReferenceBack) {
    auto* item = static_cast<GInitiallyUnowned*>(g_object_new(G_TYPE_INITIALLY_UNOWNED, nullptr));
    ASSERT_TRUE(g_object_is_floating(item));
    auto handle = GObjectRef<GInitiallyUnowned>::adopt(item);
    EXPECT_FALSE(g_object_is_floating(item));
    EXPECT_EQ(refCount(item), 1u);

    GInitiallyUnowned* released = handle.release();
    EXPECT_FALSE(handle);
    EXPECT_EQ(refCount(released), 1u);
    g_object_unref(released);

    EXPECT_FALSE(GObjectRef<GObject>::adopt(nullptr));
    EXPECT_FALSE(GObjectRef<GObject>::ref(nullptr));
}

}  // namespace
