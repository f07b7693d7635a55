#include "zv-private.h"

#include <zv/foundation/MainThread.h>
#include <zv/scheme/IconThemeSymbols.h>
#include <zv/scheme/SymbolImage.h>
#include <zv/scheme/WebKitSchemeBinding.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>
#include <zv/foundation/GObjectRef.h>
#include <zv/webview/ZVWebView.h>

/**
 * ZvSchemeHandler:
 *
 * Answers a web view's requests for the framework's URL schemes:
 *
 * - "cid": the message's parts, added with zv_scheme_handler_add_resource()
 *   or asked of the #ZvSchemeHandler:resource-provider, else a placeholder
 *   image;
 * - "wren-http" and "wren-https": remote content, from the shared
 *   #ZvUrlCache when it holds the URL, else from the network (then stored);
 *   the page asks for "wren-https://host/a.png" where the message said
 *   "https://host/a.png";
 * - "wren-exclude-http" and "wren-exclude-https": refused;
 * - "wren-symbol": symbol images ("wren-symbol:trash?size=16&color=red").
 *
 * Network loads are reported by #ZvSchemeHandler::load-started,
 * #ZvSchemeHandler::load-finished and #ZvSchemeHandler:progress. A handler
 * serves one view (zv_scheme_handler_attach()); once that view stops one of
 * its loads, the handler answers nothing more.
 */

namespace {

class ProviderAdapter final : public zv::ZVWebViewResourceProvider {
public:
    explicit ProviderAdapter(ZvResourceProvider* provider)
        : provider_(ZV_RESOURCE_PROVIDER(g_object_ref(provider))) {}
    ~ProviderAdapter() override { g_object_unref(provider_); }
    ProviderAdapter(const ProviderAdapter&) = delete;
    ProviderAdapter& operator=(const ProviderAdapter&) = delete;

    ZvResourceProvider* provider() const { return provider_; }

    // The host's code runs on the main thread, whichever thread asks.
    void resourceDataForURL(const std::string& url, Completion completion) override
    {
        auto provider = zv::GObjectRef<ZvResourceProvider>::ref(provider_);
        zv::dispatchMainAsync([provider, url, completion = std::move(completion)]() mutable {
            zv_resource_provider_lookup_resource_async(provider.get(), url.c_str(), nullptr, onLookedUp,
                                                       new Completion(std::move(completion)));
        });
    }

private:
    static void onLookedUp(GObject* source, GAsyncResult* result, gpointer data)
    {
        std::unique_ptr<Completion> completion(static_cast<Completion*>(data));
        g_autofree char* type = nullptr;
        g_autoptr(GError) error = nullptr;
        g_autoptr(GBytes) bytes =
            zv_resource_provider_lookup_resource_finish(ZV_RESOURCE_PROVIDER(source), result, &type, &error);
        if (error)
            g_debug("A message part could not be read: %s", error->message);
        if (!bytes) {
            (*completion)(std::nullopt, std::nullopt);
            return;
        }
        gsize size = 0;
        auto* bytesData = static_cast<const uint8_t*>(g_bytes_get_data(bytes, &size));
        (*completion)(type ? std::optional<std::string>(type) : std::nullopt, zv::Data(bytesData, bytesData + size));
    }

    ZvResourceProvider* provider_;
};

}  // namespace

struct _ZvSchemeHandler {
    GObject parent_instance;
    struct Private {
        std::shared_ptr<zv::ZVWebViewURLSchemeHandler> handler;
        std::shared_ptr<zv::ZVWebViewURLSchemeHandlerDelegate> delegate;
        std::shared_ptr<ProviderAdapter> provider;
        double progress = 0;
    }* p;
};

G_DEFINE_FINAL_TYPE(ZvSchemeHandler, zv_scheme_handler, G_TYPE_OBJECT)

enum { PROP_0, PROP_RESOURCE_PROVIDER, PROP_PROGRESS, N_PROPS };
static GParamSpec* properties[N_PROPS];
enum { SIGNAL_LOAD_STARTED, SIGNAL_LOAD_FINISHED, N_SIGNALS };
static guint signals[N_SIGNALS];

static void zv_scheme_handler_finalize(GObject* object)
{
    delete ZV_SCHEME_HANDLER(object)->p;
    G_OBJECT_CLASS(zv_scheme_handler_parent_class)->finalize(object);
}

static void zv_scheme_handler_get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec)
{
    auto* self = ZV_SCHEME_HANDLER(object);
    switch (id) {
    case PROP_RESOURCE_PROVIDER:
        g_value_set_object(value, zv_scheme_handler_get_resource_provider(self));
        break;
    case PROP_PROGRESS:
        g_value_set_double(value, self->p->progress);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

static void zv_scheme_handler_set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec)
{
    if (id == PROP_RESOURCE_PROVIDER)
        zv_scheme_handler_set_resource_provider(ZV_SCHEME_HANDLER(object),
                                                ZV_RESOURCE_PROVIDER(g_value_get_object(value)));
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
}

static void zv_scheme_handler_class_init(ZvSchemeHandlerClass* klass)
{
    auto* object_class = G_OBJECT_CLASS(klass);
    object_class->finalize = zv_scheme_handler_finalize;
    object_class->get_property = zv_scheme_handler_get_property;
    object_class->set_property = zv_scheme_handler_set_property;

    /**
     * ZvSchemeHandler:resource-provider:
     *
     * Asked for the message parts the handler was not given.
     */
    properties[PROP_RESOURCE_PROVIDER] = g_param_spec_object("resource-provider", nullptr, nullptr,
        ZV_TYPE_RESOURCE_PROVIDER, GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    /**
     * ZvSchemeHandler:progress:
     *
     * Network loads completed over all network loads so far, from 0 to 1.
     */
    properties[PROP_PROGRESS] = g_param_spec_double("progress", nullptr, nullptr, 0, 1, 0,
        GParamFlags(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    g_object_class_install_properties(object_class, N_PROPS, properties);

    /**
     * ZvSchemeHandler::load-started:
     * @self: the handler
     * @uri: the address asked of the network
     *
     * A load missed the cache and went to the network.
     */
    signals[SIGNAL_LOAD_STARTED] = g_signal_new("load-started", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
        nullptr, nullptr, nullptr, G_TYPE_NONE, 1, G_TYPE_STRING);
    /**
     * ZvSchemeHandler::load-finished:
     * @self: the handler
     * @uri: the address the page asked for
     * @error: (nullable): why the load failed, %NULL when it succeeded
     *
     * A network load was answered.
     */
    signals[SIGNAL_LOAD_FINISHED] = g_signal_new("load-finished", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
        nullptr, nullptr, nullptr, G_TYPE_NONE, 2, G_TYPE_STRING, G_TYPE_ERROR);
}

static void zv_scheme_handler_init(ZvSchemeHandler* self)
{
    self->p = new _ZvSchemeHandler::Private;
}

/**
 * zv_scheme_handler_new:
 *
 * A handler with the framework's schemes, no resources and no provider.
 *
 * Returns: (transfer full): the handler
 */
ZvSchemeHandler* zv_scheme_handler_new(void)
{
    auto* self = ZV_SCHEME_HANDLER(g_object_new(ZV_TYPE_SCHEME_HANDLER, nullptr));
    auto delegate = std::make_shared<zv::ZVWebViewURLSchemeHandlerDelegate>();
    // The handler reports on the main thread; the weak reference keeps a
    // report that outlives the wrapper harmless.
    auto* weak = g_new0(GWeakRef, 1);
    g_weak_ref_init(weak, self);
    std::shared_ptr<GWeakRef> ref(weak, [](GWeakRef* w) {
        g_weak_ref_clear(w);
        g_free(w);
    });
    delegate->startedURLRequest = [ref](zv::ZVWebViewURLSchemeHandler&, const zv::URLRequest& request) {
        g_autoptr(GObject) self = static_cast<GObject*>(g_weak_ref_get(ref.get()));
        if (self)
            g_signal_emit(self, signals[SIGNAL_LOAD_STARTED], 0, request.url.c_str());
    };
    delegate->completedURLRequest = [ref](zv::ZVWebViewURLSchemeHandler&, const zv::URLRequest& request,
                                          const std::optional<zv::URLResponse>&, const std::optional<zv::Error>& error) {
        g_autoptr(GObject) self = static_cast<GObject*>(g_weak_ref_get(ref.get()));
        if (!self)
            return;
        g_autoptr(GError) failure = nullptr;
        if (error)
            zv::glib::setError(&failure, *error);
        g_signal_emit(self, signals[SIGNAL_LOAD_FINISHED], 0, request.url.c_str(), failure);
    };
    delegate->reportedLoadProgress = [ref](zv::ZVWebViewURLSchemeHandler&, double progress) {
        g_autoptr(GObject) self = static_cast<GObject*>(g_weak_ref_get(ref.get()));
        // A load answered when every other one had been already leaves 1 at 1.
        if (!self || ZV_SCHEME_HANDLER(self)->p->progress == progress)
            return;
        ZV_SCHEME_HANDLER(self)->p->progress = progress;
        g_object_notify_by_pspec(self, properties[PROP_PROGRESS]);
    };
    self->p->delegate = delegate;
    self->p->handler = zv::ZVWebViewURLSchemeHandler::create();
    self->p->handler->setupHTTPOverrides();
    self->p->handler->setDelegate(delegate);
    return self;
}

/**
 * zv_scheme_handler_attach:
 * @self: a handler
 * @view: the view it answers for; the view keeps the handler
 *
 * Answers @view's requests for every scheme of the handler.
 */
void zv_scheme_handler_attach(ZvSchemeHandler* self, ZvWebView* view)
{
    g_return_if_fail(ZV_IS_SCHEME_HANDLER(self));
    g_return_if_fail(ZV_IS_WEB_VIEW(view));
    zv::setURLSchemeHandler(zv_web_view_get_web_view(view), self->p->handler);
    // The view keeps its handler's wrapper too, for the reports.
    g_object_set_data_full(G_OBJECT(zv_web_view_get_web_view(view)), "zv-scheme-handler", g_object_ref(self),
                           g_object_unref);
}

/**
 * zv_scheme_handler_add_resource:
 * @self: a handler
 * @url: the part's URL as the page refers to it ("cid:part1@host")
 * @data: the part's bytes
 * @mime_type: the part's type
 * @text_encoding: (nullable): for text, the name of its encoding
 *
 * Replaces the part stored under @url.
 */
void zv_scheme_handler_add_resource(ZvSchemeHandler* self, const char* url, GBytes* data, const char* mime_type,
                                    const char* text_encoding)
{
    g_return_if_fail(ZV_IS_SCHEME_HANDLER(self));
    g_return_if_fail(url && data);
    gsize size = 0;
    auto* bytes = static_cast<const uint8_t*>(g_bytes_get_data(data, &size));
    auto resource = std::make_shared<zv::ZVMimeResource>();
    resource->data.assign(bytes, bytes + size);
    resource->URL = zv::glib::Utf8Input(url).string();
    resource->MIMEType = zv::glib::Utf8Input(mime_type).string();
    resource->textEncodingName = zv::glib::Utf8Input(text_encoding).string();
    self->p->handler->addResource(resource, resource->URL);
}

/**
 * zv_scheme_handler_remove_all_resources:
 * @self: a handler
 *
 * Forgets the parts given with zv_scheme_handler_add_resource().
 */
void zv_scheme_handler_remove_all_resources(ZvSchemeHandler* self)
{
    g_return_if_fail(ZV_IS_SCHEME_HANDLER(self));
    self->p->handler->removeCurrentResources();
}

/**
 * zv_scheme_handler_get_resource_provider:
 * @self: a handler
 *
 * Returns: (transfer none) (nullable): the value of
 *   #ZvSchemeHandler:resource-provider
 */
ZvResourceProvider* zv_scheme_handler_get_resource_provider(ZvSchemeHandler* self)
{
    g_return_val_if_fail(ZV_IS_SCHEME_HANDLER(self), nullptr);
    return self->p->provider ? self->p->provider->provider() : nullptr;
}

/**
 * zv_scheme_handler_set_resource_provider:
 * @self: a handler
 * @provider: (nullable): asked for the parts the handler was not given
 *
 * Sets #ZvSchemeHandler:resource-provider.
 */
void zv_scheme_handler_set_resource_provider(ZvSchemeHandler* self, ZvResourceProvider* provider)
{
    g_return_if_fail(ZV_IS_SCHEME_HANDLER(self));
    if (zv_scheme_handler_get_resource_provider(self) == provider)
        return;
    std::shared_ptr<ProviderAdapter> adapter;
    if (provider)
        adapter = std::make_shared<ProviderAdapter>(provider);
    self->p->provider = adapter;
    self->p->handler->setResourceProvider(adapter);
    g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_RESOURCE_PROVIDER]);
}

/**
 * zv_scheme_handler_get_pending_loads:
 * @self: a handler
 *
 * Returns: (transfer full) (array zero-terminated=1): the network loads
 *   started and not yet answered
 */
char** zv_scheme_handler_get_pending_loads(ZvSchemeHandler* self)
{
    g_return_val_if_fail(ZV_IS_SCHEME_HANDLER(self), nullptr);
    return zv::glib::newStrv(self->p->handler->pendingLoads());
}

/**
 * zv_scheme_handler_get_completed_loads:
 * @self: a handler
 *
 * Returns: (transfer full) (array zero-terminated=1): the loads answered so
 *   far, a URL answered twice twice
 */
char** zv_scheme_handler_get_completed_loads(ZvSchemeHandler* self)
{
    g_return_val_if_fail(ZV_IS_SCHEME_HANDLER(self), nullptr);
    return zv::glib::newStrv(self->p->handler->completedLoads());
}

/**
 * zv_scheme_handler_get_progress:
 * @self: a handler
 *
 * Returns: the value of #ZvSchemeHandler:progress
 */
double zv_scheme_handler_get_progress(ZvSchemeHandler* self)
{
    g_return_val_if_fail(ZV_IS_SCHEME_HANDLER(self), 0);
    return self->p->progress;
}

/**
 * zv_symbol_image_png:
 * @name: the symbol's name ("trash", "questionmark.square.dashed")
 * @point_size: the side of the square it is drawn in, in pixels
 *
 * A symbol image drawn from the desktop's icon theme, as "wren-symbol"
 * URLs give them.
 *
 * Returns: (transfer full) (nullable): PNG bytes, or %NULL when there is no
 *   symbol of that name
 */
GBytes* zv_symbol_image_png(const char* name, double point_size)
{
    g_return_val_if_fail(name, nullptr);
    if (!zv::symbolRenderer())
        zv::useIconThemeSymbols();
    zv::SymbolImageRequest request;
    request.name = zv::glib::Utf8Input(name).string();
    request.pointSize = point_size;
    auto png = zv::symbolRenderer()(request);
    return png ? g_bytes_new(png->data(), png->size()) : nullptr;
}
