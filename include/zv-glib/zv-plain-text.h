/* The plain text of a message's HTML. */
#pragma once

#include <glib.h>

G_BEGIN_DECLS

char *zv_html_to_plain_text (const char *html);

G_END_DECLS
