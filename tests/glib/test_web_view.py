# ZvWebView and ZvFindController from Python in a real window (the test runs
# under a virtual display): a message loads, find counts its matches across
# two views, and a click in the page arrives as a signal. Waits are bounded.
import gc
import socket
import time

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("WebKit", "6.0")
gi.require_version("Zv", "0.2")
from gi.repository import Gio, GLib, GObject, Gtk, WebKit, Zv  # noqa: E402
import pytest  # noqa: E402

FIRST = ('<html><head><title>Lunch</title></head><body><p class="note">Noon suits me.</p>'
         '<p>See you at noon, by the <b class="place:main" title="it\'s">terrace</b>.</p></body></html>')
SECOND = '<html><body><p>Is noon too early?</p><p>Or later?</p></body></html>'


def wait_until(condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        GLib.MainContext.default().iteration(False)
        time.sleep(0.001)
    return True


def loaded(view, html):
    finished = []
    view.props.web_view.connect("load-changed",
                                lambda _, event: event == WebKit.LoadEvent.FINISHED and finished.append(True))
    view.load_html(html, "about:blank")
    assert wait_until(lambda: finished), "the page did not load"
    return view


@pytest.fixture(scope="module")
def views():
    if not Gtk.init_check():
        pytest.skip("no display")
    first = Zv.WebView.new_safe(None)
    second = Zv.WebView.new_safe(first)
    for view in (first, second):
        assert view.add_search_scripts()
    # Selectors as CSS writes them: an escaped colon, a quote in a string.
    first.set_event_selectors(Zv.DomEvent.CLICK, ["p.note", 'b.place\\:main[title="it\'s"]'])
    box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
    for view in (first, second):
        view.props.web_view.set_vexpand(True)
        box.append(view.props.web_view)
    window = Gtk.Window(default_width=600, default_height=400, child=box)
    window.present()
    yield loaded(first, FIRST), loaded(second, SECOND)
    window.destroy()


def test_find_counts_across_views(views):
    first, second = views
    assert first.props.identifier != second.props.identifier
    controller = Zv.FindController.new(Zv.FindControllerOptions.NONE)
    bar = Zv.FindBar.new(controller)
    assert bar.get_controller() is controller
    controller.set_web_views([first, second])
    controller.find("noon")
    # "Noon" and "noon" in the first message (case is ignored by default), one in the second.
    assert wait_until(lambda: controller.props.match_count == 3), controller.props.match_count
    counts = []
    for view in views:
        view.count_matches_async(None, lambda v, result: counts.append(v.count_matches_finish(result)))
    assert wait_until(lambda: len(counts) == 2)
    assert sorted(counts) == [1, 2]


def test_a_list_with_a_missing_view_holds_none_of_them(views):
    first, _ = views
    before = first.__grefcount__
    Zv.FindController.new(Zv.FindControllerOptions.NONE).set_web_views([first, None])
    assert first.__grefcount__ == before


def test_click_reaches_the_host(views):
    first, _ = views
    events = []
    first.connect("event", lambda _, kind, info: events.append((kind, info.unpack())))
    first.props.web_view.evaluate_javascript("document.querySelector('p.note').click();"
                                             "document.querySelector('b').click()", -1, None, None, None)
    assert wait_until(lambda: len(events) == 2), "no event arrived"
    assert [(kind, info["eventType"], info["elementTag"], info["elementClass"]) for kind, info in events] == [
        (Zv.DomEvent.CLICK, "click", "P", "note"), (Zv.DomEvent.CLICK, "click", "B", "place:main")]
    assert events[0][1]["webView"] == first.props.identifier


def test_links_stay_with_the_host(views):
    first, _ = views
    clicked = []
    first.connect("link-clicked", lambda _, uri: clicked.append(uri))
    loaded(first, '<a id="go" href="https://example.org/">go</a>')
    first.props.web_view.evaluate_javascript("document.getElementById('go').click()", -1, None, None, None)
    assert wait_until(lambda: clicked), "the link was not handed over"
    assert clicked == ["https://example.org/"]
    assert first.props.web_view.get_uri() == "about:blank"



def test_a_dropped_safe_view_keeps_its_page(views):
    # The host packs the engine's widget and lets the wrapper go.
    view = Zv.WebView.new_safe(views[0])
    web = view.props.web_view
    window = Gtk.Window(child=web)
    window.present()
    loaded(view, '<a id="go" href="https://example.org/">go</a>')
    del view
    gc.collect()
    started = []
    web.connect("load-changed", lambda _, event: started.append(event))
    web.evaluate_javascript("document.getElementById('go').click()", -1, None, None, None)
    wait_until(lambda: started, 2)
    assert (started, web.get_uri()) == ([], "about:blank")
    window.destroy()

class Message(GObject.Object, Zv.MessageItem):
    """A message of the host's conversation: counted by hand until a step
    goes into it, then given a view that answers once its page has loaded."""

    def __init__(self, key, html):
        super().__init__()
        self.key, self.html, self.view, self.loads = key, html, None, 0

    def do_get_script_identifier(self):
        return self.key

    def do_get_web_view(self):
        return self.view

    def do_count_matches(self, strings):
        return Zv.html_to_plain_text(self.html).lower().count(strings[0].lower())

    def do_load_web_view_async(self, cancellable, callback, user_data):
        task = Gio.Task.new(self, cancellable, lambda item, result, _: callback(item, result), None)
        if self.view:
            task.return_boolean(True)
            return
        self.loads += 1
        view = Zv.WebView.new_safe(None)
        view.add_search_scripts()

        def changed(_, event):
            if event == WebKit.LoadEvent.FINISHED:
                self.view = view
                task.return_boolean(True)
        view.props.web_view.connect("load-changed", changed)
        view.load_html(self.html, "about:blank")

    def do_load_web_view_finish(self, result):
        result.propagate_boolean()
        return self.view


class Conversation(GObject.Object, Zv.ConversationThread):
    def __init__(self, messages):
        super().__init__()
        self.messages = Gio.ListStore.new(GObject.Object)
        for message in messages:
            self.messages.append(message)

    def do_get_visible_items(self):
        return self.messages


def test_conversation_follows_its_messages():
    if not Gtk.init_check():
        pytest.skip("no display")
    # Views searched by another controller before keep its handler: these messages get their own.
    earlier, later = Message("m1", FIRST), Message("m2", SECOND)
    conversation = Conversation([earlier, later])
    controller = Zv.FindController.new(Zv.FindControllerOptions.NONE)
    window = Gtk.Window(child=Zv.FindBar.new(controller))
    window.present()
    found = []
    controller.connect("found-result", lambda _, item, x, y, looped: found.append(item))
    controller.props.conversation_thread = conversation
    controller.find("noon")
    # Two in the first message, one in the second, all counted by hand.
    assert wait_until(lambda: controller.props.match_count == 3), controller.props.match_count
    conversation.messages.append(Message("m3", "<p>Noon, or after noon?</p>"))
    assert wait_until(lambda: controller.props.match_count == 5), controller.props.match_count
    conversation.messages.remove(2)
    assert wait_until(lambda: controller.props.match_count == 3), controller.props.match_count
    for _ in range(4):  # a step at a time: into the first message, its next match, the second
        if later in found:
            break
        steps = len(found)
        controller.find_next()
        wait_until(lambda: len(found) > steps, 10)
    assert later in found, [getattr(item, "key", None) for item in found]
    assert (earlier.loads, later.loads) == (1, 1) and later.view is not None
    window.destroy()


class GreetingPage(Zv.PageController):
    """A page controller written in Python: its hooks and an action."""

    def __init__(self):
        super().__init__()
        self.calls = []
        self.register_action("greet")

    def do_page_will_load(self):
        self.calls.append("will-load")

    def do_page_did_load(self):
        self.calls.append("did-load")

    def do_action(self, name, body):
        self.calls.append((name, body.unpack() if body else None))

    def do_expand_variable(self, name, key):
        return "Ana" if name == "who" else None


class FarewellPage(GreetingPage):
    pass


class PageWindow(Zv.WebWindowController):
    """A window controller written in Python: links that leave its pages."""

    def __init__(self):
        super().__init__()
        self.opened = []

    def do_open_uri(self, uri):
        self.opened.append(uri)


def test_page_controller_subclass(tmp_path):
    if not Gtk.init_check():
        pytest.skip("no display")
    (tmp_path / "en.lproj").mkdir()
    (tmp_path / "en.lproj" / "Greeting.html").write_text(
        '<html><head><title localizationkey="title">t</title></head><body>'
        '<h1 id="hello" localizationkey="hello">x</h1><a id="out" href="https://example.org/">out</a>'
        '<script>PageController.greet({"who": "Ana"})</script></body></html>')
    (tmp_path / "en.lproj" / "Greeting.html.strings").write_text(
        '"title" = "Greetings";\n"hello" = "Hello, ${who}";\n')
    window = PageWindow()
    window.set_resource_directory(str(tmp_path))
    window.set_preferred_localization("en")
    window.expose_window_methods()
    # Registered by type: the window makes the page's controller as it loads the page.
    window.register_page("Greeting", GreetingPage)
    window.register_page("Farewell", FarewellPage)
    window.load_file("Greeting", "html")
    page = window.get_page_controller()
    assert type(page) is GreetingPage
    assert wait_until(lambda: ("greet", {"who": "Ana"}) in page.calls), page.calls
    assert page.calls.index("will-load") < page.calls.index(("greet", {"who": "Ana"}))
    assert wait_until(lambda: "did-load" in page.calls)
    assert page.get_element_content("hello") == "Hello, Ana"
    page.set_element_content("hello", r"C:\new\table")
    assert page.get_element_content("hello") == r"C:\new\table"
    assert window.get_window().get_title() == "Greetings"
    assert page.get_web_view() is window.get_web_view()

    view = window.get_web_view().props.web_view
    view.evaluate_javascript("document.getElementById('out').click()", -1, None, None, None)
    assert wait_until(lambda: window.opened), "the link did not leave the page"
    assert window.opened == ["https://example.org/"]
    # The page names its next controller, as a page may.
    view.evaluate_javascript("WindowController.setPageControllerClassName('Farewell')", -1, None, None, None)
    assert wait_until(lambda: type(window.get_page_controller()) is FarewellPage)
    assert window.get_page_controller().calls == ["did-load"]
    window.close()


def test_a_load_given_up_still_answers(tmp_path):
    if not Gtk.init_check():
        pytest.skip("no display")
    window = Zv.WebWindowController.new()
    page = window.get_page_controller()
    answers = {}

    def load(name):
        (tmp_path / f"{name}.html").write_text(f"<p>{name}</p>")

        def done(controller, result):
            try:
                answer = "loaded" if controller.load_uri_finish(result) else "not loaded"
            except GLib.Error as error:
                answer = "cancelled" if error.matches(Gio.io_error_quark(), Gio.IOErrorEnum.CANCELLED) else error.message
            answers.setdefault(name, []).append(answer)
        page.load_uri_async((tmp_path / f"{name}.html").as_uri(), None, done)

    def from_main_loop(step):
        # As a host's handlers run: from a dispatched source, where no answer may come inside the call.
        unchanged = []

        def run():
            before = {name: list(got) for name, got in answers.items()}
            step()
            unchanged.append(before == answers)
            return GLib.SOURCE_REMOVE
        GLib.idle_add(run)
        assert wait_until(lambda: unchanged) and unchanged == [True], answers

    # The second load starts before the first has answered: both callbacks run, once.
    load("One")
    from_main_loop(lambda: load("Two"))
    assert wait_until(lambda: len(answers) == 2), answers
    # The window takes another controller before the third answers.
    load("Three")
    window.set_page_controller(Zv.PageController.new())
    assert wait_until(lambda: len(answers) == 3), answers
    assert answers == {"One": ["cancelled"], "Two": ["loaded"], "Three": ["cancelled"]}
    window.close()


class StoreParts(GObject.Object, Zv.ResourceProvider):
    """The host's mail store: parts it reads on demand."""

    def __init__(self, parts):
        super().__init__()
        self.parts = parts
        self.asked = []

    def do_lookup_resource(self, url):
        self.asked.append(url)
        return self.parts.get(url, (None, None))


def test_message_parts_by_content_id(views):
    png = Zv.symbol_image_png("paperclip", 24)
    assert png is not None and png.get_data()[:8] == b"\x89PNG\r\n\x1a\n"
    assert Zv.symbol_image_png("no.such.symbol", 24) is None
    view = Zv.WebView.new_safe(views[0])
    handler = Zv.SchemeHandler.new()
    handler.add_resource("cid:given@x", png, "image/png", None)
    store = StoreParts({"cid:stored@x": (png, "image/png")})
    handler.props.resource_provider = store
    handler.attach(view)
    loaded(view, '<img id="a" src="cid:given@x"><img id="b" src="cid:stored@x">')
    widths = []

    def measured(web_view, result):
        widths.append(web_view.evaluate_javascript_finish(result).to_string())

    view.props.web_view.evaluate_javascript(
        "[document.getElementById('a').naturalWidth, document.getElementById('b').naturalWidth].join()",
        -1, None, None, None, measured)
    assert wait_until(lambda: widths)
    assert widths == ["24,24"] and store.asked == ["cid:stored@x"]


def test_progress_notifies_only_changes(views):
    # A port just freed refuses at once: each load fails, and each answer leaves every load done.
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    view = Zv.WebView.new_safe(views[0])
    handler = Zv.SchemeHandler.new()
    handler.attach(view)
    seen = []
    handler.connect("notify::progress", lambda source, _: seen.append(source.props.progress))
    for count, name in enumerate(("a", "b"), 1):
        loaded(view, f'<img src="wren-http://127.0.0.1:{port}/{name}.png">')
        assert wait_until(lambda: len(handler.get_completed_loads()) == count), handler.get_pending_loads()
    assert seen == [1.0]


def test_highlight_takes_text_as_written(views):
    view = Zv.WebView.new_safe(views[0])
    assert view.add_search_scripts()
    loaded(view, r"<p>Type `echo ${HOME}` or \d, then `echo ${HOME}` when done.</p>")
    counts = []
    # Backquotes, "${" and backslashes are the script literal's own syntax: each must arrive as written.
    for text in ("`echo ${HOME}`", "\\d"):
        view.highlight(text, Zv.FindStyle.CONTAINS)
        view.count_matches_async(None, lambda v, result: counts.append(v.count_matches_finish(result)))
    assert wait_until(lambda: len(counts) == 2)
    assert counts == [2, 1]
