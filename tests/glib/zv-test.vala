// The GObject library from Vala (valac --pkg zv-0.2): a snippet, a quoted
// reply, head CSS and a colour, worked out by hand.
int main () {
    int failures = 0;
    var snippet = Zv.text_snippet_for_html ("<p>Hello <span style=\"display:none\">secret</span>world</p>", 100,
                                            Zv.SnippetOptions.NONE);
    failures += check ("hidden text", snippet, "Hello world");
    failures += check ("quoted reply",
                       Zv.html_to_plain_text ("<p>Yes.</p><blockquote type=\"cite\"><p>Tea?</p></blockquote>"),
                       "Yes.\n>Tea?");
    try {
        failures += check ("inlined", Zv.apply_head_css ("<style>i { margin: 0 }</style><i>x</i>", true, null, null),
                           "<html><head></head><body><i style=\" margin: 0\">x</i></body></html>");
        Zv.apply_head_css ("<p>", false, { "((" }, null);
        failures += check ("bad exclusion", "accepted", "an error");
    } catch (Error e) {
        failures += check ("error", e.domain.to_string (), "zv-error");
    }
    // A page controller subclassed in Vala; its strings need no window.
    var page = new GreetingPage ();
    page.set_localized_string ("greeting", "Hello");
    failures += check ("page string", page.get_localized_string ("greeting", null), "Hello");
    failures += check ("missing string", page.get_localized_string ("absent", "fallback"), "fallback");
    // A mail store in Vala that reads its parts asynchronously, reached through the C API.
    var store = new AsyncStore ();
    var loop = new MainLoop ();
    string? type = null;
    Bytes? part = null;
    store.lookup_resource_async.begin ("cid:a@x", null, (obj, result) => {
        try {
            part = store.lookup_resource_async.end (result, out type);
        } catch (Error e) {
            type = e.message;
        }
        loop.quit ();
    });
    Timeout.add_seconds (10, () => { loop.quit (); return Source.REMOVE; });
    loop.run ();
    if (part == null || part.compare (new Bytes ("GIF89a".data)) != 0)
        failures += check ("async part", "other bytes", "GIF89a");
    failures += check ("async type", type, "image/gif");
    uint8 r, g, b;
    if (!Zv.color_for_name ("navy", out r, out g, out b) || r != 0 || g != 0 || b != 128)
        failures += check ("navy", "not 0,0,128", "0,0,128");
    if (failures == 0)
        print ("%s\n", snippet);
    return failures == 0 ? 0 : 1;
}

int check (string what, string? got, string wanted) {
    if (got == wanted)
        return 0;
    printerr ("%s: got \"%s\", wanted \"%s\"\n", what, got ?? "(null)", wanted);
    return 1;
}

class GreetingPage : Zv.PageController {
    public override string? expand_variable (string name, string key) {
        return name == "who" ? "Ana" : null;
    }
}

class AsyncStore : Object, Zv.ResourceProvider {
    public async Bytes? lookup_resource_async (string url, Cancellable? cancellable, out string? mime_type)
            throws Error {
        Idle.add (lookup_resource_async.callback);
        yield;
        mime_type = url == "cid:a@x" ? "image/gif" : null;
        return url == "cid:a@x" ? new Bytes ("GIF89a".data) : null;
    }
}
