#!/usr/bin/env python3
"""A small mail reader on ZVWebKit's GObject API: opens an .eml file, prints
its preview and plain text, and shows it in a safe message view with the
find bar (Ctrl+F; Enter and Shift+Enter step, Escape closes).

    python3 mail-reader.py MESSAGE.eml [--find TEXT]

Without an installed prefix, point GI_TYPELIB_PATH and LD_LIBRARY_PATH at
build/src/glib.
"""
import argparse
import email
import email.policy
import html
import sys

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("WebKit", "6.0")
gi.require_version("Zv", "0.2")
from gi.repository import GLib, Gtk, WebKit, Zv  # noqa: E402


def message_html(message):
    """The message's HTML, and its parts with a Content-ID by "cid:" URL."""
    body = message.get_body(preferencelist=("html", "plain"))
    if body is None:
        return "<p></p>", {}
    text = body.get_content()
    if body.get_content_type() == "text/plain":
        text = f"<pre>{html.escape(text)}</pre>"
    parts = {}
    for part in message.walk():
        content_id = part.get("Content-ID")
        if content_id and not part.is_multipart():
            parts["cid:" + content_id.strip("<>")] = (part.get_content_type(), part.get_payload(decode=True))
    return text, parts


class Reader(Gtk.ApplicationWindow):
    def __init__(self, app, message, search):
        super().__init__(application=app, default_width=720, default_height=560)
        source, parts = message_html(message)
        self.set_title(str(message.get("Subject", "(no subject)")))

        # The head's style sheets go onto the elements: a message view has no
        # head of its own for them to style.
        prepared = Zv.apply_head_css(source, True, None, None)
        print("Preview:", Zv.text_snippet_for_html(source, 200, Zv.SnippetOptions.KEEP_WHOLE_WORDS
                                                   | Zv.SnippetOptions.SKIP_HEAD) or "")
        print(Zv.html_to_plain_text(source), flush=True)

        self.view = Zv.WebView.new_safe(None)
        self.view.add_search_scripts()
        self.view.connect("link-clicked", lambda _, uri: Gtk.show_uri(self, uri, 0))
        handler = Zv.SchemeHandler.new()
        for url, (mime_type, data) in parts.items():
            handler.add_resource(url, GLib.Bytes.new(data), mime_type, None)
        handler.attach(self.view)

        self.finder = Zv.FindController.new(Zv.FindControllerOptions.NONE)
        self.finder.set_web_views([self.view])
        self.finder.connect("hide-requested", lambda _: self.bar.set_reveal_child(False))
        self.bar = Gtk.Revealer(child=Zv.FindBar.new(self.finder))

        web = self.view.props.web_view
        web.set_vexpand(True)
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        box.append(self.bar)
        box.append(web)
        self.set_child(box)

        find = Gtk.ShortcutController()
        find.add_shortcut(Gtk.Shortcut.new(Gtk.ShortcutTrigger.parse_string("<Control>f"),
                                           Gtk.CallbackAction.new(lambda *_: self.show_find(None))))
        self.add_controller(find)
        if search:
            web.connect("load-changed", lambda _, event: event == WebKit.LoadEvent.FINISHED and self.show_find(search))
        self.view.load_html(prepared, "about:blank")

    def show_find(self, text):
        self.bar.set_reveal_child(True)
        self.bar.get_child().focus(text)
        return True


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("message")
    parser.add_argument("--find", help="search the message for TEXT once it has loaded")
    args = parser.parse_args()
    try:
        with open(args.message, "rb") as file:
            message = email.message_from_binary_file(file, policy=email.policy.default)
    except OSError as error:
        sys.exit(f"mail-reader: {args.message}: {error.strerror}")
    app = Gtk.Application(application_id="org.example.MailReader")
    app.connect("activate", lambda app: Reader(app, message, args.find).present())
    app.run([])


if __name__ == "__main__":
    main()
