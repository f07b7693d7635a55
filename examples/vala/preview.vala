// Prints the preview and the plain text of HTML files, with ZVWebKit's
// GObject API:
//
//     valac --pkg zv-0.2 preview.vala && ./preview message.html
int main (string[] args) {
    if (args.length < 2) {
        printerr ("usage: %s FILE.html...\n", args[0]);
        return 2;
    }
    int status = 0;
    foreach (unowned string path in args[1:args.length]) {
        try {
            var snippet = Zv.text_snippet_for_file (File.new_for_commandline_arg (path), 120,
                                                    Zv.SnippetOptions.KEEP_WHOLE_WORDS | Zv.SnippetOptions.SKIP_HEAD);
            print ("%s: %s\n", path, snippet ?? "(no visible text)");
            string html;
            FileUtils.get_contents (path, out html);
            print ("%s\n", Zv.html_to_plain_text (html));
        } catch (Error e) {
            printerr ("preview: %s: %s\n", path, e.message);
            status = 1;
        }
    }
    return status;
}
