// Keeps a web view that lies far outside a scrolled column from drawing.
//
// A mail reader stacks a conversation's messages in one scrolled column, and
// every mapped web view is painted by its web process and copied into the
// window by the UI process, on screen or not: with fifty messages that copying
// alone has held the main loop for up to 130 ms in one turn. So while the view
// is more than a screen above or below what its nearest viewport shows, it is
// kept unmapped (not child-visible): it keeps its place and size in the layout,
// its page keeps loading and running scripts, and only drawing stops (and
// whatever WebKit ties to it: animation frames, resize observers). It is mapped
// again once it comes within a screen of sight, so it has drawn by the time
// it is seen. A view with the keyboard focus is never unmapped.
//
// Only a column inside a GtkViewport is watched (what gtk_scrolled_window_set_child
// makes of a box); a view in any other place draws as always, and so does one
// whose nearest viewport scrolls only sideways.
#pragma once

#include <zv/foundation/GObjectRef.h>

#include <gtk/gtk.h>

namespace zv {

class OutOfSightDrawing {
public:
    explicit OutOfSightDrawing(GtkWidget* view);
    // Leaves the view mapped as its parent has it and lets go of every signal.
    ~OutOfSightDrawing();
    OutOfSightDrawing(const OutOfSightDrawing&) = delete;
    OutOfSightDrawing& operator=(const OutOfSightDrawing&) = delete;

private:
    static void onRootChanged(GtkWidget* view, GParamSpec*, gpointer self);
    static void onFocusChanged(GtkWidget* view, GParamSpec*, gpointer self);
    static void onScrolledOrLaidOut(GtkAdjustment*, gpointer self);
    void watchScroller();
    void stopWatching();
    void updateWhenIdle();
    bool isNearSight() const;

    GtkWidget* view_;
    GObjectRef<GtkViewport> viewport_;  // held while watched
    GObjectRef<GtkAdjustment> adjustment_;
    guint idle_ = 0;
    bool unmapped_ = false;  // by this object, so only this object maps it again
};

}  // namespace zv
