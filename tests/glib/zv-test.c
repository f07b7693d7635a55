/* The GObject library from C, built with pkg-config: values worked out by
 * hand, and invalid UTF-8 read as U+FFFD rather than passed on. */
#include <zv-glib/zv.h>

#include <stdio.h>
#include <string.h>

static int failures;

static void
expect (const char *what, const char *got, const char *wanted)
{
  if (g_strcmp0 (got, wanted) == 0)
    return;
  fprintf (stderr, "%s: got \"%s\", wanted \"%s\"\n", what, got ? got : "(null)", wanted ? wanted : "(null)");
  failures++;
}

int
main (void)
{
  g_autofree char *reply = zv_html_to_plain_text ("<p>See you.</p><blockquote type=\"cite\"><p>Noon?</p></blockquote>");
  expect ("quoted reply", reply, "See you.\n>Noon?");

  g_autofree char *preview = zv_text_snippet_for_html ("<p>Hello <span style=\"display:none\">secret</span>world</p>",
                                                       100, ZV_SNIPPET_NONE);
  expect ("hidden text", preview, "Hello world");

  g_autoptr(GError) error = NULL;
  g_autofree char *inlined = zv_apply_head_css ("<head><style>b { color: red }</style></head><b>x</b>", TRUE, NULL,
                                                NULL, &error);
  expect ("inlined", inlined, "<html><head></head><body><b style=\" color: red\">x</b></body></html>");

  guint8 r = 0, g = 0, b = 0;
  if (!zv_color_for_name ("orange", &r, &g, &b) || r != 255 || g != 165 || b != 0)
    expect ("orange", "not 255,165,0", "255,165,0");

  /* "caf\xe9" is Latin-1, not UTF-8: the bad byte becomes U+FFFD. */
  g_autofree char *repaired = zv_html_to_plain_text ("<p>caf\xe9</p>");
  expect ("invalid UTF-8", repaired, "caf\xef\xbf\xbd");
  g_autofree char *nothing = zv_text_snippet_for_html (NULL, 10, ZV_SNIPPET_NONE);
  expect ("NULL", nothing, NULL);

  g_autoptr(ZvHtmlDocument) document = zv_html_document_new_from_string ("<ul><li>a<li>b</ul>");
  g_autoptr(GPtrArray) items = zv_html_document_select (document, "li");
  g_autofree char *second = items->len == 2 ? zv_html_element_get_text_content (items->pdata[1]) : NULL;
  expect ("select", second, "b");

  /* The shared cache, replaced while a wrapper of the one before is held. */
  g_autofree char *folder = g_dir_make_tmp ("zv-test-XXXXXX", NULL);
  g_setenv ("XDG_CACHE_HOME", folder, TRUE);
  ZvUrlCache *before = zv_url_cache_get_shared ();
  g_autofree char *path = g_build_filename (folder, "other.sqlite", NULL);
  g_autoptr(ZvUrlCache) other = zv_url_cache_new (path, 0);
  zv_url_cache_set_shared (other);
  expect ("shared cache", zv_url_cache_get_shared () == other ? "the one set" : "another", "the one set");
  g_autoptr(GBytes) stored = zv_url_cache_lookup (before, "https://example.org/", NULL, NULL);
  expect ("cache replaced", stored ? "a body" : NULL, NULL);

  if (failures == 0)
    printf ("%s\n", preview);
  return failures ? 1 : 0;
}
