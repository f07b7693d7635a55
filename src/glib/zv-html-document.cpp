#include "zv-private.h"

#include <zv/css/HeadCSSInlining.h>
#include <zv/css/HeadCSSPurge.h>
#include <zv/foundation/Regex.h>
#include <zv/html/HTMLSerializer.h>
#include <zv/reading/DarkAdaptation.h>
#include <zv/reading/SafeMessageView.h>
#include <zv/text/PlainText.h>

/**
 * ZvHtmlDocument:
 *
 * A document parsed from HTML text as a browser parses it. Elements found in
 * it (#ZvHtmlElement) keep it alive. A document and its elements belong to
 * one thread at a time.
 */
struct _ZvHtmlDocument {
    GObject parent_instance;
    zv::html::Ref<zv::html::HTMLDocument> document;
};

G_DEFINE_FINAL_TYPE(ZvHtmlDocument, zv_html_document, G_TYPE_OBJECT)

static void zv_html_document_finalize(GObject* object)
{
    ZV_HTML_DOCUMENT(object)->document.~Ref();
    G_OBJECT_CLASS(zv_html_document_parent_class)->finalize(object);
}

static void zv_html_document_class_init(ZvHtmlDocumentClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = zv_html_document_finalize;
}

static void zv_html_document_init(ZvHtmlDocument* self)
{
    new (&self->document) zv::html::Ref<zv::html::HTMLDocument>();
}

namespace zv::glib {

html::HTMLDocument& documentOf(ZvHtmlDocument* document)
{
    return *document->document;
}

}  // namespace zv::glib

/**
 * zv_html_document_new_from_string:
 * @html: (nullable): UTF-8 HTML text; %NULL reads as empty, invalid bytes as
 *   U+FFFD
 *
 * Parses @html as a whole document. Parsing never fails: malformed markup is
 * taken as browsers take it.
 *
 * Returns: (transfer full): the document
 */
ZvHtmlDocument* zv_html_document_new_from_string(const char* html)
{
    auto* self = ZV_HTML_DOCUMENT(g_object_new(ZV_TYPE_HTML_DOCUMENT, nullptr));
    self->document = zv::html::HTMLDocument::documentWithString(zv::glib::Utf8Input(html).view());
    return self;
}

/**
 * zv_html_document_serialize:
 * @self: a document
 *
 * The document serialized as the HTML standard writes it.
 *
 * Returns: (transfer full): the HTML text
 */
char* zv_html_document_serialize(ZvHtmlDocument* self)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    return zv::glib::newText(zv::html::serializeNode(*self->document));
}

/**
 * zv_html_document_get_title:
 * @self: a document
 *
 * The first `title` element's text, white space stripped and collapsed.
 *
 * Returns: (transfer full): the title, empty when there is none
 */
char* zv_html_document_get_title(ZvHtmlDocument* self)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    return zv::glib::newText(self->document->title());
}

/**
 * zv_html_document_get_plain_text:
 * @self: a document
 *
 * The plain text of the document, as zv_html_to_plain_text() gives it.
 *
 * Returns: (transfer full): the plain text
 */
char* zv_html_document_get_plain_text(ZvHtmlDocument* self)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    const auto* root = self->document->documentElement();
    return zv::glib::newText(root ? zv::plainText(*root) : std::string());
}

/**
 * zv_html_document_get_body:
 * @self: a document
 *
 * Returns: (transfer full) (nullable): the `body` element, or %NULL when
 *   the document has none (a frameset)
 */
ZvHtmlElement* zv_html_document_get_body(ZvHtmlDocument* self)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    return zv::glib::wrapElement(self, self->document->body());
}

/**
 * zv_html_document_select_first:
 * @self: a document
 * @selector: a CSS selector
 *
 * The first element in document order that @selector matches.
 *
 * Returns: (transfer full) (nullable): the element, or %NULL when none
 *   matches or the selector does not parse
 */
ZvHtmlElement* zv_html_document_select_first(ZvHtmlDocument* self, const char* selector)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    return zv::glib::wrapElement(self, self->document->querySelector(zv::glib::Utf8Input(selector).view()));
}

/**
 * zv_html_document_select:
 * @self: a document
 * @selector: a CSS selector
 *
 * The elements @selector matches, in document order.
 *
 * Returns: (transfer container) (element-type ZvHtmlElement): the elements;
 *   empty when none matches or the selector does not parse
 */
GPtrArray* zv_html_document_select(ZvHtmlDocument* self, const char* selector)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    auto elements = self->document->querySelectorAll(zv::glib::Utf8Input(selector).view());
    GPtrArray* array = g_ptr_array_new_full(elements.size(), g_object_unref);
    for (auto* element : elements)
        g_ptr_array_add(array, zv::glib::wrapElement(self, element));
    return array;
}

/**
 * zv_html_document_purge_head_css:
 * @self: a document
 * @filters: (array zero-terminated=1) (nullable): the scopes (`zv-scope`
 *   values) of the style sheets to remove; %NULL or empty removes all
 *
 * Removes the head's `style` elements of the given scopes; sheets scoped
 * "required" always stay, and a document without a body keeps everything.
 */
void zv_html_document_purge_head_css(ZvHtmlDocument* self, const char* const* filters)
{
    g_return_if_fail(ZV_IS_HTML_DOCUMENT(self));
    zv::purgeHeadCSSWithFilters(*self->document, zv::glib::stringList(filters));
}

/**
 * zv_html_document_apply_head_css:
 * @self: a document
 * @purge: whether every head `style` element goes afterwards
 * @exclusions: (array zero-terminated=1) (nullable): ICU patterns
 *   (case-insensitive, `^` and `$` at line ends) of selectors to skip
 * @scopes: (array zero-terminated=1) (nullable): the scopes of the sheets to
 *   read; %NULL or empty reads them all
 * @error: set when an exclusion does not compile
 *
 * Appends each head rule's declarations to the `style` attribute of the
 * body elements its selector finds, in the order the selectors first appear.
 * Nothing is merged: a head rule lands after the element's own declarations.
 * The document is left unchanged when an exclusion does not compile.
 *
 * Returns: %TRUE, or %FALSE with @error set (%ZV_ERROR_INVALID_ARGUMENT)
 */
gboolean zv_html_document_apply_head_css(ZvHtmlDocument* self, gboolean purge, const char* const* exclusions,
                                         const char* const* scopes, GError** error)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), FALSE);
    auto patterns = zv::glib::stringList(exclusions);
    // Checked here: the engine would report a bad pattern on standard output.
    for (const auto& pattern : patterns) {
        zv::RegexError failure;
        if (!zv::Regex::compile(pattern, zv::RegexOptions::CaseInsensitive | zv::RegexOptions::AnchorsMatchLines,
                                &failure)) {
            g_set_error(error, ZV_ERROR, ZV_ERROR_INVALID_ARGUMENT, "exclusion \"%s\" does not compile: %s",
                        pattern.c_str(), failure.name.c_str());
            return FALSE;
        }
    }
    zv::applyHeadCSSToContentAndPurge(*self->document, purge, patterns, zv::glib::stringList(scopes));
    return TRUE;
}

/**
 * zv_html_document_prepare_for_safe_view:
 * @self: a document, its head CSS already applied if the host wants it
 * @allow_remote_content: whether remote references may load, through the
 *   internal "wren-http" and "wren-https" schemes a #ZvSchemeHandler serves
 * @block_trackers: whether tracking pixels, hidden images and images whose
 *   URL names the reader stay blocked even when remote content may load, and
 *   links lose their tracking parameters
 * @trackers: (out) (optional): how many trackers were blocked
 *
 * Makes the document safe to show in a view whose page scripts are off: what
 * fetches or redirects by itself goes, every remote URL is rewritten to the
 * framework's schemes (refused ones while remote content is blocked), and a
 * content security policy heads the document. A blocked picture shows as a
 * box of its declared size with its alternative text or file name.
 *
 * Returns: (transfer full) (array zero-terminated=1): the remote URLs found,
 *   in document order, for a "Show remote content" bar
 */
char** zv_html_document_prepare_for_safe_view(ZvHtmlDocument* self, gboolean allow_remote_content,
                                              gboolean block_trackers, guint* trackers)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), nullptr);
    zv::SafeViewOptions options;
    options.allowRemoteContent = allow_remote_content;
    options.blockTrackers = block_trackers;
    zv::SafeViewReport report = zv::prepareDocumentForSafeView(*self->document, options);
    if (trackers) *trackers = guint(report.trackers.size());
    return zv::glib::newStrv(report.remoteURLs);
}

/**
 * zv_html_document_adapt_for_dark:
 * @self: a document, its head CSS already applied
 *
 * Adapts the document's colours for a dark appearance: backgrounds moved
 * into a dark band with their hue kept, text held to a contrast of at least
 * 4.5:1, images kept as they are. A message with dark styles of its own is
 * left as its sender designed it, drawn in the dark scheme, with only text
 * under that floor changed.
 *
 * Returns: %TRUE when the colours were adapted, %FALSE when the message was
 *   left as designed
 */
gboolean zv_html_document_adapt_for_dark(ZvHtmlDocument* self)
{
    g_return_val_if_fail(ZV_IS_HTML_DOCUMENT(self), FALSE);
    return !zv::adaptDocumentForDarkAppearance(*self->document).leftAsDesigned;
}
