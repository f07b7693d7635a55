#include "zv-private.h"

/**
 * ZvFindBar:
 *
 * The bar of a #ZvFindController: a search entry with a menu of search
 * styles, ignore case and recent searches, the count, previous and next,
 * and done. Enter and Shift+Enter step, Escape asks the host to hide it
 * (#ZvFindController::hide-requested).
 */
struct _ZvFindBar {
    GtkWidget parent_instance;
    ZvFindController* controller;
};

G_DEFINE_FINAL_TYPE(ZvFindBar, zv_find_bar, GTK_TYPE_WIDGET)

enum { PROP_0, PROP_CONTROLLER, N_PROPS };
static GParamSpec* properties[N_PROPS];

static void zv_find_bar_dispose(GObject* object)
{
    auto* self = ZV_FIND_BAR(object);
    if (self->controller)
        gtk_widget_unparent(zv::glib::findViewOf(self->controller));
    g_clear_object(&self->controller);
    G_OBJECT_CLASS(zv_find_bar_parent_class)->dispose(object);
}

static void zv_find_bar_get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec)
{
    if (id == PROP_CONTROLLER)
        g_value_set_object(value, ZV_FIND_BAR(object)->controller);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
}

static void zv_find_bar_set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec)
{
    auto* self = ZV_FIND_BAR(object);
    if (id != PROP_CONTROLLER) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
        return;
    }
    self->controller = ZV_FIND_CONTROLLER(g_value_dup_object(value));
    if (self->controller)
        gtk_widget_set_parent(zv::glib::findViewOf(self->controller), GTK_WIDGET(self));
}

static void zv_find_bar_class_init(ZvFindBarClass* klass)
{
    auto* object_class = G_OBJECT_CLASS(klass);
    object_class->dispose = zv_find_bar_dispose;
    object_class->get_property = zv_find_bar_get_property;
    object_class->set_property = zv_find_bar_set_property;
    /**
     * ZvFindBar:controller:
     *
     * The controller whose bar this is.
     */
    properties[PROP_CONTROLLER] = g_param_spec_object("controller", nullptr, nullptr, ZV_TYPE_FIND_CONTROLLER,
        GParamFlags(G_PARAM_READWRITE | G_PARAM_CONSTRUCT_ONLY | G_PARAM_STATIC_STRINGS));
    g_object_class_install_properties(object_class, N_PROPS, properties);
    gtk_widget_class_set_layout_manager_type(GTK_WIDGET_CLASS(klass), GTK_TYPE_BIN_LAYOUT);
    gtk_widget_class_set_css_name(GTK_WIDGET_CLASS(klass), "zvfindbar");
}

static void zv_find_bar_init(ZvFindBar*) {}

/**
 * zv_find_bar_new:
 * @controller: the controller whose bar to show; a controller has one bar
 *
 * Returns: (transfer floating): the bar
 */
GtkWidget* zv_find_bar_new(ZvFindController* controller)
{
    g_return_val_if_fail(ZV_IS_FIND_CONTROLLER(controller), nullptr);
    g_return_val_if_fail(!gtk_widget_get_parent(zv::glib::findViewOf(controller)), nullptr);
    return GTK_WIDGET(g_object_new(ZV_TYPE_FIND_BAR, "controller", controller, nullptr));
}

/**
 * zv_find_bar_get_controller:
 * @self: a bar
 *
 * Returns: (transfer none): the value of #ZvFindBar:controller
 */
ZvFindController* zv_find_bar_get_controller(ZvFindBar* self)
{
    g_return_val_if_fail(ZV_IS_FIND_BAR(self), nullptr);
    return self->controller;
}

/**
 * zv_find_bar_focus:
 * @self: a bar
 * @text: (nullable): the text to search; %NULL offers the text searched
 *   last in the process
 *
 * Puts @text into the entry, searches and moves the keyboard focus there.
 */
void zv_find_bar_focus(ZvFindBar* self, const char* text)
{
    g_return_if_fail(ZV_IS_FIND_BAR(self));
    zv_find_controller_find(self->controller, text);
}
