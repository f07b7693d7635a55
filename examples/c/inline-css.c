/* Copies an HTML file's head style sheets onto its elements and prints the
 * result, with ZVWebKit's GObject API:
 *
 *     cc -o inline-css inline-css.c $(pkg-config --cflags --libs zv-0.2)
 *     ./inline-css message.html
 */
#include <zv-glib/zv.h>

#include <stdio.h>

int
main (int argc, char **argv)
{
  if (argc != 2)
    {
      fprintf (stderr, "usage: %s FILE.html\n", argv[0]);
      return 2;
    }
  g_autoptr(GError) error = NULL;
  g_autofree char *html = NULL;
  if (!g_file_get_contents (argv[1], &html, NULL, &error))
    {
      fprintf (stderr, "inline-css: %s\n", error->message);
      return 1;
    }
  g_autoptr(ZvHtmlDocument) document = zv_html_document_new_from_string (html);
  if (!zv_html_document_apply_head_css (document, TRUE, NULL, NULL, &error))
    {
      fprintf (stderr, "inline-css: %s\n", error->message);
      return 1;
    }
  g_autofree char *inlined = zv_html_document_serialize (document);
  printf ("%s\n", inlined);
  return 0;
}
