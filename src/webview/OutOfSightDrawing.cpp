#include "OutOfSightDrawing.h"

#include <utility>

namespace zv {

OutOfSightDrawing::OutOfSightDrawing(GtkWidget* view) : view_(view) {
    g_signal_connect(view_, "notify::root", G_CALLBACK(onRootChanged), this);
    g_signal_connect(view_, "notify::has-focus", G_CALLBACK(onFocusChanged), this);
    watchScroller();
}

OutOfSightDrawing::~OutOfSightDrawing() {
    g_signal_handlers_disconnect_by_data(view_, this);
    stopWatching();
}

// Moving a widget unroots and roots it again, so this sees every new place;
// a view leaving its window lets go of the column it was in.
void OutOfSightDrawing::onRootChanged(GtkWidget* view, GParamSpec*, gpointer self) {
    auto* drawing = static_cast<OutOfSightDrawing*>(self);
    drawing->stopWatching();
    if (gtk_widget_get_root(view)) drawing->watchScroller();
}

// A focused view scrolled far away stays mapped until it loses the focus.
void OutOfSightDrawing::onFocusChanged(GtkWidget*, GParamSpec*, gpointer self) {
    auto* drawing = static_cast<OutOfSightDrawing*>(self);
    if (drawing->viewport_) drawing->updateWhenIdle();
}

void OutOfSightDrawing::watchScroller() {
    GtkWidget* viewport = gtk_widget_get_ancestor(view_, GTK_TYPE_VIEWPORT);
    if (!viewport) return;
    viewport_ = GObjectRef<GtkViewport>::ref(GTK_VIEWPORT(viewport));
    adjustment_ = GObjectRef<GtkAdjustment>::ref(gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(viewport)));
    // "changed" follows every layout that moved or resized the column's content.
    g_signal_connect(adjustment_.get(), "value-changed", G_CALLBACK(onScrolledOrLaidOut), this);
    g_signal_connect(adjustment_.get(), "changed", G_CALLBACK(onScrolledOrLaidOut), this);
    updateWhenIdle();
}

void OutOfSightDrawing::stopWatching() {
    if (idle_) g_source_remove(std::exchange(idle_, 0));
    if (adjustment_) g_signal_handlers_disconnect_by_data(adjustment_.get(), this);
    adjustment_.reset();
    viewport_.reset();
    if (unmapped_) {
        unmapped_ = false;
        gtk_widget_set_child_visible(view_, TRUE);
    }
}

void OutOfSightDrawing::onScrolledOrLaidOut(GtkAdjustment*, gpointer self) {
    static_cast<OutOfSightDrawing*>(self)->updateWhenIdle();
}

// The signals come while GTK allocates, where mapping is best left alone.
void OutOfSightDrawing::updateWhenIdle() {
    if (idle_) return;
    idle_ = g_idle_add_once(
        +[](gpointer data) {
            auto* self = static_cast<OutOfSightDrawing*>(data);
            self->idle_ = 0;
            const bool unmap = !self->isNearSight() && !gtk_widget_is_focus(self->view_);
            if (unmap == self->unmapped_) return;
            self->unmapped_ = unmap;
            gtk_widget_set_child_visible(self->view_, !unmap);
        },
        this);
}

// Within a screen above or below the shown part of the column. Before the
// first layout nothing is known, and the view draws.
bool OutOfSightDrawing::isNearSight() const {
    GtkWidget* content = gtk_viewport_get_child(viewport_.get());
    const double page = gtk_adjustment_get_page_size(adjustment_.get());
    graphene_rect_t bounds;
    if (!content || page <= 0 || !gtk_widget_compute_bounds(view_, content, &bounds)) return true;
    const double top = gtk_adjustment_get_value(adjustment_.get());
    return bounds.origin.y < top + 2 * page && bounds.origin.y + bounds.size.height > top - page;
}

}  // namespace zv
