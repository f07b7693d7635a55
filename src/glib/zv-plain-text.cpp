#include "zv-private.h"

#include <zv/text/PlainText.h>

/**
 * zv_html_to_plain_text:
 * @html: (nullable): a message's HTML; %NULL reads as an empty document
 *
 * The text/plain form of a message's HTML, as a reply being sent carries
 * it: quoted paragraphs prefixed with `>` per level, the reply separator
 * followed by `----`, a line feed for each paragraph, `div` line and
 * break, and no script, style or head text. Invalid UTF-8 reads as U+FFFD.
 *
 * Returns: (transfer full) (not nullable): the plain text, empty when the
 *   document has none
 */
char* zv_html_to_plain_text(const char* html)
{
    zv::glib::Utf8Input input(html);
    auto document = zv::html::HTMLDocument::documentWithString(input.view());
    const auto* root = document->documentElement();
    return zv::glib::newText(root ? zv::plainText(*root) : std::string());
}
