#include "zv-private.h"

#include <zv/find/FindOptions.h>
#include <zv/webview/Event.h>
#include <zv/webview/ZVWebView.h>

#include <map>

/**
 * ZvWebView:
 *
 * The message view: it owns a #WebKitWebView (#ZvWebView:web-view, the
 * widget to pack) and reports what the user does in the page as
 * #ZvWebView::event signals, for the elements chosen with
 * zv_web_view_set_event_selectors(). It drives the page's search script
 * (zv_web_view_add_search_scripts()) and keeps the content size the host
 * measured.
 *
 * Packed in a scrolled column (a #GtkBox of messages in a #GtkScrolledWindow),
 * the web view stops drawing while it is more than a screen away from the part
 * shown, and draws again before it comes into sight; its page keeps loading and
 * running meanwhile.
 *
 * A safe view (zv_web_view_new_safe()) never runs the message's own scripts
 * (the framework's user scripts still run) and never navigates: a clicked
 * link is handed to #ZvWebView::link-clicked instead.
 *
 * Main thread only.
 */
struct _ZvWebView {
    GObject parent_instance;
    struct Private {
        std::shared_ptr<zv::ZVWebView> view;
        std::map<ZvDomEvent, std::vector<std::string>> selectors;
        std::shared_ptr<zv::ZVWebViewEventDelegate> delegate;
    }* p;
};

G_DEFINE_FINAL_TYPE(ZvWebView, zv_web_view, G_TYPE_OBJECT)

G_DEFINE_FLAGS_TYPE(ZvFindStyle, zv_find_style,
                    G_DEFINE_ENUM_VALUE(ZV_FIND_STYLE_CONTAINS, "contains"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_STYLE_STARTS_WITH, "starts-with"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_STYLE_EXACTLY, "exactly"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_STYLE_REGULAR_EXPRESSION, "regular-expression"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_STYLE_IGNORE_CASE, "ignore-case"))

G_DEFINE_ENUM_TYPE(ZvDomEvent, zv_dom_event,
                   G_DEFINE_ENUM_VALUE(ZV_DOM_EVENT_CLICK, "click"),
                   G_DEFINE_ENUM_VALUE(ZV_DOM_EVENT_DOUBLE_CLICK, "dblclick"),
                   G_DEFINE_ENUM_VALUE(ZV_DOM_EVENT_CONTEXT_MENU, "contextmenu"),
                   G_DEFINE_ENUM_VALUE(ZV_DOM_EVENT_DRAG_START, "dragstart"),
                   G_DEFINE_ENUM_VALUE(ZV_DOM_EVENT_KEY_DOWN, "keydown"))

static_assert(int(ZV_FIND_STYLE_CONTAINS) == int(zv::SearchContains) && int(ZV_FIND_STYLE_STARTS_WITH) == int(zv::SearchStartsWith) &&
              int(ZV_FIND_STYLE_EXACTLY) == int(zv::SearchExactly) &&
              int(ZV_FIND_STYLE_REGULAR_EXPRESSION) == int(zv::SearchRegularExpression) &&
              int(ZV_FIND_STYLE_IGNORE_CASE) == int(zv::SearchIgnoreCase));

enum { PROP_0, PROP_WEB_VIEW, PROP_IDENTIFIER, PROP_CONTENT_WIDTH, PROP_CONTENT_HEIGHT, N_PROPS };
static GParamSpec* properties[N_PROPS];
enum { SIGNAL_EVENT, SIGNAL_LINK_CLICKED, N_SIGNALS };
static guint signals[N_SIGNALS];

// The wrapper of a WebKitWebView, so that one C++ view has one wrapper.
G_DEFINE_QUARK(zv-web-view-wrapper, wrapper)

static void zv_web_view_dispose(GObject* object)
{
    auto* self = ZV_WEB_VIEW(object);
    if (self->p->view)
        g_object_set_qdata(G_OBJECT(self->p->view->webView()), wrapper_quark(), nullptr);
    self->p->delegate.reset();
    self->p->view.reset();
    G_OBJECT_CLASS(zv_web_view_parent_class)->dispose(object);
}

static void zv_web_view_finalize(GObject* object)
{
    delete ZV_WEB_VIEW(object)->p;
    G_OBJECT_CLASS(zv_web_view_parent_class)->finalize(object);
}

static void zv_web_view_get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec)
{
    auto* self = ZV_WEB_VIEW(object);
    switch (id) {
    case PROP_WEB_VIEW:
        g_value_set_object(value, zv_web_view_get_web_view(self));
        break;
    case PROP_IDENTIFIER:
        g_value_set_uint64(value, zv_web_view_get_identifier(self));
        break;
    case PROP_CONTENT_WIDTH:
        g_value_set_double(value, zv_web_view_get_content_width(self));
        break;
    case PROP_CONTENT_HEIGHT:
        g_value_set_double(value, zv_web_view_get_content_height(self));
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

static void zv_web_view_class_init(ZvWebViewClass* klass)
{
    auto* object_class = G_OBJECT_CLASS(klass);
    object_class->dispose = zv_web_view_dispose;
    object_class->finalize = zv_web_view_finalize;
    object_class->get_property = zv_web_view_get_property;

    auto flags = GParamFlags(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY);
    /**
     * ZvWebView:web-view:
     *
     * The engine's view, the widget a host packs into its window.
     */
    properties[PROP_WEB_VIEW] = g_param_spec_object("web-view", nullptr, nullptr, WEBKIT_TYPE_WEB_VIEW, flags);
    /**
     * ZvWebView:identifier:
     *
     * A number naming this view in event info ("webView"); unique in the
     * process and never reused.
     */
    properties[PROP_IDENTIFIER] = g_param_spec_uint64("identifier", nullptr, nullptr, 0, G_MAXUINT64, 0, flags);
    /**
     * ZvWebView:content-width:
     *
     * The width of the page content as the host last measured and set it.
     */
    properties[PROP_CONTENT_WIDTH] = g_param_spec_double("content-width", nullptr, nullptr, 0, G_MAXDOUBLE, 0, flags);
    /**
     * ZvWebView:content-height:
     *
     * The height of the page content as the host last measured and set it.
     */
    properties[PROP_CONTENT_HEIGHT] = g_param_spec_double("content-height", nullptr, nullptr, 0, G_MAXDOUBLE, 0, flags);
    g_object_class_install_properties(object_class, N_PROPS, properties);

    /**
     * ZvWebView::event:
     * @self: the view
     * @event: what happened
     * @info: the element's description, a dictionary (`a{sv}`) with the keys
     *   "eventType", "elementTag" ("DIV"), "elementFrame" (x, y, width,
     *   height), "elementAttributes" (name to value), and when there are
     *   some "elementClass", "elementId", "href", "keyPressed", "error";
     *   "webView" is this view's #ZvWebView:identifier
     *
     * The user acted on an element chosen by zv_web_view_set_event_selectors().
     */
    signals[SIGNAL_EVENT] = g_signal_new("event", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                         nullptr, G_TYPE_NONE, 2, ZV_TYPE_DOM_EVENT, G_TYPE_VARIANT);
    /**
     * ZvWebView::link-clicked:
     * @self: the view
     * @uri: the link's address
     *
     * A link was clicked in a safe view, which stays where it is; the host
     * decides where the link goes (usually the desktop's browser).
     */
    signals[SIGNAL_LINK_CLICKED] = g_signal_new("link-clicked", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
                                                nullptr, nullptr, nullptr, G_TYPE_NONE, 1, G_TYPE_STRING);
}

static void zv_web_view_init(ZvWebView* self)
{
    self->p = new _ZvWebView::Private;
}

static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                               gpointer data)
{
    if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION && type != WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION)
        return FALSE;
    auto* action = webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    if (webkit_navigation_action_get_navigation_type(action) != WEBKIT_NAVIGATION_TYPE_LINK_CLICKED)
        return FALSE;
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    webkit_policy_decision_ignore(decision);
    g_autoptr(GObject) self = static_cast<GObject*>(g_weak_ref_get(static_cast<GWeakRef*>(data)));
    if (self)
        g_signal_emit(self, signals[SIGNAL_LINK_CLICKED], 0, uri);
    return TRUE;
}

static void freeWeakRef(gpointer data, GClosure*)
{
    g_weak_ref_clear(static_cast<GWeakRef*>(data));
    g_free(data);
}

namespace zv::glib {

std::shared_ptr<ZVWebView> webViewOf(ZvWebView* view)
{
    return view ? view->p->view : nullptr;
}

ZvWebView* wrapWebView(const std::shared_ptr<ZVWebView>& view)
{
    if (!view)
        return nullptr;
    if (auto* wrapper = g_object_get_qdata(G_OBJECT(view->webView()), wrapper_quark()))
        return ZV_WEB_VIEW(g_object_ref(wrapper));
    auto* self = ZV_WEB_VIEW(g_object_new(ZV_TYPE_WEB_VIEW, nullptr));
    self->p->view = view;
    g_object_set_qdata(G_OBJECT(view->webView()), wrapper_quark(), self);
    return self;
}

}  // namespace zv::glib

/**
 * zv_web_view_new:
 *
 * A view with the engine's default settings. GTK must be initialized.
 *
 * Returns: (transfer full): the view
 */
ZvWebView* zv_web_view_new(void)
{
    // Without a display the engine's widgets crash; say so instead.
    g_return_val_if_fail(gtk_is_initialized(), nullptr);
    return zv::glib::wrapWebView(zv::ZVWebView::create());
}

/**
 * zv_web_view_new_safe: (constructor)
 * @related: (nullable): a view whose web process the new one shares, as
 *   the messages of one conversation do
 *
 * A view for a stranger's message: its scripts never run (the framework's
 * user scripts do) and links go to #ZvWebView::link-clicked.
 *
 * Make the views that share @related's process once a first page (a blank
 * one will do) has loaded in @related: dozens of views loading into a web
 * process still starting have crashed it.
 *
 * Returns: (transfer full): the view
 */
ZvWebView* zv_web_view_new_safe(ZvWebView* related)
{
    g_return_val_if_fail(gtk_is_initialized(), nullptr);
    g_return_val_if_fail(!related || ZV_IS_WEB_VIEW(related), nullptr);
    zv::ZVWebViewConfiguration configuration;
    configuration.settings = zv::GObjectRef<WebKitSettings>::adopt(
        webkit_settings_new_with_settings("enable-javascript-markup", FALSE, nullptr));
    if (related)
        configuration.relatedView = zv::GObjectRef<WebKitWebView>::ref(zv_web_view_get_web_view(related));
    auto* self = zv::glib::wrapWebView(zv::ZVWebView::create(configuration));
    // The packed widget may outlive the wrapper: its links stay refused
    // then, with nobody left to hear of them.
    auto* wrapper = g_new0(GWeakRef, 1);
    g_weak_ref_init(wrapper, self);
    g_signal_connect_data(zv_web_view_get_web_view(self), "decide-policy", G_CALLBACK(onDecidePolicy), wrapper,
                          freeWeakRef, GConnectFlags(0));
    return self;
}

/**
 * zv_web_view_get_web_view:
 * @self: a view
 *
 * Returns: (transfer none): the engine's view, to pack into a window
 */
WebKitWebView* zv_web_view_get_web_view(ZvWebView* self)
{
    g_return_val_if_fail(ZV_IS_WEB_VIEW(self), nullptr);
    return self->p->view->webView();
}

/**
 * zv_web_view_get_identifier:
 * @self: a view
 *
 * Returns: the value of #ZvWebView:identifier
 */
guint64 zv_web_view_get_identifier(ZvWebView* self)
{
    g_return_val_if_fail(ZV_IS_WEB_VIEW(self), 0);
    return self->p->view->identifier();
}

/**
 * zv_web_view_load_html:
 * @self: a view
 * @html: (nullable): the document; %NULL loads an empty one
 * @base_uri: (nullable): what relative references resolve against
 *
 * Shows @html.
 */
void zv_web_view_load_html(ZvWebView* self, const char* html, const char* base_uri)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    webkit_web_view_load_html(zv_web_view_get_web_view(self), zv::glib::Utf8Input(html).string().c_str(), base_uri);
}

static ZvDomEvent domEventOf(zv::EventType type)
{
    switch (type) {
    case zv::EventType::ApplicationDefined:
        return ZV_DOM_EVENT_DOUBLE_CLICK;
    case zv::EventType::RightMouseDown:
        return ZV_DOM_EVENT_CONTEXT_MENU;
    case zv::EventType::LeftMouseDragged:
        return ZV_DOM_EVENT_DRAG_START;
    case zv::EventType::KeyDown:
        return ZV_DOM_EVENT_KEY_DOWN;
    default:
        return ZV_DOM_EVENT_CLICK;
    }
}

/**
 * zv_web_view_set_event_selectors:
 * @self: a view
 * @event: the page event
 * @selectors: (array zero-terminated=1) (nullable): CSS selectors of the
 *   elements whose @event is reported; none stops reporting it.
 *
 * Chooses the elements #ZvWebView::event reports @event for. Takes effect
 * with the next load: the page script is installed at document start.
 */
void zv_web_view_set_event_selectors(ZvWebView* self, ZvDomEvent event, const char* const* selectors)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    // The engine puts each selector between single quotes as it is.
    auto& escaped = self->p->selectors[event];
    escaped.clear();
    for (const std::string& selector : zv::glib::stringList(selectors))
        escaped.push_back(zv::glib::scriptLiteralText(selector, "\\'\n\r"));
    // A new delegate: the view rebuilds its page script only for a new one.
    auto delegate = std::make_shared<zv::ZVWebViewEventDelegate>();
    auto table = self->p->selectors;
    delegate->webViewDOMSelectorsForEventType = [table](zv::EventType type) {
        auto found = table.find(domEventOf(type));
        return found == table.end() ? std::vector<std::string>() : found->second;
    };
    delegate->webViewEvent = [self](const zv::Event& event) {
        if (!event.webViewEventInfo)
            return;
        auto type = zv::eventTypeForDOMEvent(event.webViewEventInfo->value("eventType", ""));
        GVariant* info = zv::glib::variantFromValue(*event.webViewEventInfo);
        g_signal_emit(self, signals[SIGNAL_EVENT], 0, type ? domEventOf(*type) : ZV_DOM_EVENT_CLICK, info);
    };
    self->p->delegate = delegate;
    self->p->view->setEventDelegate(delegate);
}

/**
 * zv_web_view_get_content_width:
 * @self: a view
 *
 * Returns: the value of #ZvWebView:content-width
 */
double zv_web_view_get_content_width(ZvWebView* self)
{
    g_return_val_if_fail(ZV_IS_WEB_VIEW(self), 0);
    return self->p->view->contentSize().width;
}

/**
 * zv_web_view_get_content_height:
 * @self: a view
 *
 * Returns: the value of #ZvWebView:content-height
 */
double zv_web_view_get_content_height(ZvWebView* self)
{
    g_return_val_if_fail(ZV_IS_WEB_VIEW(self), 0);
    return self->p->view->contentSize().height;
}

/**
 * zv_web_view_set_content_size:
 * @self: a view
 * @width: the content's width
 * @height: the content's height
 *
 * Records the size of the page content the host measured.
 */
void zv_web_view_set_content_size(ZvWebView* self, double width, double height)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    auto before = self->p->view->contentSize();
    self->p->view->setContentSize({width, height});
    if (before.width != width)
        g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_CONTENT_WIDTH]);
    if (before.height != height)
        g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_CONTENT_HEIGHT]);
}

/**
 * zv_web_view_add_search_scripts:
 * @self: a view
 *
 * Adds the in-page search scripts as user scripts, run in every later load
 * (a safe view runs no script of the page's own). Needed by the search
 * calls below and by #ZvFindController.
 *
 * Returns: %FALSE, with nothing added, when a script cannot be read
 */
gboolean zv_web_view_add_search_scripts(ZvWebView* self)
{
    g_return_val_if_fail(ZV_IS_WEB_VIEW(self), FALSE);
    return self->p->view->addSearchUserScripts();
}

/**
 * zv_web_view_highlight:
 * @self: a view
 * @text: what to find
 * @style: how to match it
 *
 * Highlights every match of @text in the page.
 */
void zv_web_view_highlight(ZvWebView* self, const char* text, ZvFindStyle style)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    // The engine puts the search text between backquotes as it is.
    self->p->view->highlightOccurrencesOfString(zv::glib::scriptLiteralText(zv::glib::Utf8Input(text).view(), "\\`$"),
                                                style);
}

/**
 * zv_web_view_remove_all_highlights:
 * @self: a view
 *
 * Removes the highlights of zv_web_view_highlight().
 */
void zv_web_view_remove_all_highlights(ZvWebView* self)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    self->p->view->removeAllHighlights();
}

/**
 * zv_web_view_count_matches_async:
 * @self: a view
 * @cancellable: (nullable): to stop waiting
 * @callback: (scope async): called with the count
 * @user_data: (closure): for @callback
 *
 * Asks the page how many matches are highlighted now.
 */
void zv_web_view_count_matches_async(ZvWebView* self, GCancellable* cancellable, GAsyncReadyCallback callback,
                                     gpointer user_data)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    GTask* task = g_task_new(self, cancellable, callback, user_data);
    self->p->view->getFindResultCount([task](int64_t count) {
        g_task_return_int(task, count);
        g_object_unref(task);
    });
}

/**
 * zv_web_view_count_matches_finish:
 * @self: a view
 * @result: the result handed to the callback
 * @error: set when the wait was cancelled
 *
 * Returns: the number of matches; -1 when the page cannot say (its search
 *   script is missing)
 */
gint64 zv_web_view_count_matches_finish(ZvWebView* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), -1);
    return g_task_propagate_int(G_TASK(result), error);
}

/**
 * zv_web_view_find_next_async:
 * @self: a view
 * @backwards: step to the previous match instead
 * @cancellable: (nullable): to stop waiting
 * @callback: (scope async): called with the new match's position
 * @user_data: (closure): for @callback
 *
 * Makes the next (or previous) match the current one, wrapping around.
 */
void zv_web_view_find_next_async(ZvWebView* self, gboolean backwards, GCancellable* cancellable,
                                 GAsyncReadyCallback callback, gpointer user_data)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    GTask* task = g_task_new(self, cancellable, callback, user_data);
    auto completion = [task](double position) {
        g_task_return_pointer(task, g_memdup2(&position, sizeof position), g_free);
        g_object_unref(task);
    };
    if (backwards)
        self->p->view->findPreviousWithCompletion(completion);
    else
        self->p->view->findNextWithCompletion(completion);
}

/**
 * zv_web_view_find_next_finish:
 * @self: a view
 * @result: the result handed to the callback
 * @error: set when the wait was cancelled
 *
 * Returns: the current match's position below the visible top of the page;
 *   0 when the page could not step
 */
double zv_web_view_find_next_finish(ZvWebView* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), 0);
    g_autofree double* position = static_cast<double*>(g_task_propagate_pointer(G_TASK(result), error));
    return position ? *position : 0;
}

/**
 * zv_web_view_get_selected_text_async:
 * @self: a view
 * @cancellable: (nullable): to stop waiting
 * @callback: (scope async): called with the text
 * @user_data: (closure): for @callback
 *
 * Asks the page for the text the user selected.
 */
void zv_web_view_get_selected_text_async(ZvWebView* self, GCancellable* cancellable, GAsyncReadyCallback callback,
                                         gpointer user_data)
{
    g_return_if_fail(ZV_IS_WEB_VIEW(self));
    GTask* task = g_task_new(self, cancellable, callback, user_data);
    webkit_web_view_evaluate_javascript(
        zv_web_view_get_web_view(self), "window.getSelection().toString()", -1, nullptr, nullptr, cancellable,
        [](GObject* view, GAsyncResult* result, gpointer data) {
            g_autoptr(GTask) task = G_TASK(data);
            GError* error = nullptr;
            g_autoptr(JSCValue) value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error);
            if (!value) {
                g_task_return_error(task, error);
                return;
            }
            g_task_return_pointer(task, jsc_value_to_string(value), g_free);
        },
        task);
}

/**
 * zv_web_view_get_selected_text_finish:
 * @self: a view
 * @result: the result handed to the callback
 * @error: set when the page could not answer
 *
 * Returns: (transfer full) (nullable): the selected text, empty when nothing
 *   is selected; %NULL with @error set on failure
 */
char* zv_web_view_get_selected_text_finish(ZvWebView* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), nullptr);
    return static_cast<char*>(g_task_propagate_pointer(G_TASK(result), error));
}
