#include "zv-private.h"

/**
 * zv_purge_head_css:
 * @html: (nullable): a message's HTML; %NULL reads as empty
 * @filters: (array zero-terminated=1) (nullable): the scopes of the style
 *   sheets to remove; %NULL or empty removes all but the "required" ones
 *
 * zv_html_document_purge_head_css() on @html parsed.
 *
 * Returns: (transfer full): the document serialized
 */
char* zv_purge_head_css(const char* html, const char* const* filters)
{
    g_autoptr(ZvHtmlDocument) document = zv_html_document_new_from_string(html);
    zv_html_document_purge_head_css(document, filters);
    return zv_html_document_serialize(document);
}

/**
 * zv_apply_head_css:
 * @html: (nullable): a message's HTML; %NULL reads as empty
 * @purge: whether every head `style` element goes afterwards
 * @exclusions: (array zero-terminated=1) (nullable): patterns of selectors
 *   to skip, as zv_html_document_apply_head_css() takes them
 * @scopes: (array zero-terminated=1) (nullable): the scopes of the sheets to
 *   read; %NULL or empty reads them all
 * @error: set when an exclusion does not compile
 *
 * zv_html_document_apply_head_css() on @html parsed: the head CSS inlined.
 *
 * Returns: (transfer full) (nullable): the document serialized, or %NULL
 *   with @error set
 */
char* zv_apply_head_css(const char* html, gboolean purge, const char* const* exclusions, const char* const* scopes,
                        GError** error)
{
    g_autoptr(ZvHtmlDocument) document = zv_html_document_new_from_string(html);
    if (!zv_html_document_apply_head_css(document, purge, exclusions, scopes, error))
        return nullptr;
    return zv_html_document_serialize(document);
}
