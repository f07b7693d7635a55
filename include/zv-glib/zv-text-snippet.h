/* Short plain-text previews of HTML, from text, a stream or a file. */
#pragma once

#include <gio/gio.h>

G_BEGIN_DECLS

/**
 * ZvSnippetOptions:
 * @ZV_SNIPPET_NONE: the defaults
 * @ZV_SNIPPET_KEEP_WHOLE_WORDS: end the snippet after a whole word
 * @ZV_SNIPPET_INVISIBLE_SPACES_AS_WHITESPACE: count U+00A0 and U+200C as
 *   white space
 * @ZV_SNIPPET_SKIP_TITLE: leave out the text of `<title>`
 * @ZV_SNIPPET_SKIP_HEAD: leave out the text of `<head>`
 * @ZV_SNIPPET_PRESERVE_LINE_BREAKS: keep line feeds, and end blocks with one
 *
 * How a snippet is taken.
 */
typedef enum /*< flags >*/ {
  ZV_SNIPPET_NONE = 0,
  ZV_SNIPPET_KEEP_WHOLE_WORDS = 1 << 0,
  ZV_SNIPPET_INVISIBLE_SPACES_AS_WHITESPACE = 1 << 1,
  ZV_SNIPPET_SKIP_TITLE = 1 << 2,
  ZV_SNIPPET_SKIP_HEAD = 1 << 3,
  ZV_SNIPPET_PRESERVE_LINE_BREAKS = 1 << 4,
} ZvSnippetOptions;

GType zv_snippet_options_get_type (void) G_GNUC_CONST;
#define ZV_TYPE_SNIPPET_OPTIONS (zv_snippet_options_get_type ())

char *zv_text_snippet_for_html (const char       *html,
                                glong             max_length,
                                ZvSnippetOptions  options);

char *zv_text_snippet_for_stream (GInputStream      *stream,
                                  glong              max_length,
                                  ZvSnippetOptions   options,
                                  GCancellable      *cancellable,
                                  GError           **error);

void  zv_text_snippet_for_stream_async  (GInputStream        *stream,
                                         glong                max_length,
                                         ZvSnippetOptions     options,
                                         GCancellable        *cancellable,
                                         GAsyncReadyCallback  callback,
                                         gpointer             user_data);
char *zv_text_snippet_for_stream_finish (GAsyncResult  *result,
                                         GError       **error);

char *zv_text_snippet_for_file (GFile             *file,
                                glong              max_length,
                                ZvSnippetOptions   options,
                                GCancellable      *cancellable,
                                GError           **error);

G_END_DECLS
