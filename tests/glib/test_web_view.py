# ZvWebView and ZvFindController from Python in a real window (the test runs
# under a virtual display): a message loads, find counts its matches across
# two views, and a click in the page arrives as a signal. Waits are bounded.
import time

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("WebKit", "6.0")
gi.require_version("Zv", "0.2")
from gi.repository import GLib, GObject, Gtk, WebKit, Zv  # noqa: E402
import pytest  # noqa: E402

FIRST = ('<html><head><title>Lunch</title></head><body><p class="note">Noon suits me.</p>'
         '<p>See you at noon, by the terrace.</p></body></html>')
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
    first.set_event_selectors(Zv.DomEvent.CLICK, ["p.note"])
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


def test_click_reaches_the_host(views):
    first, _ = views
    events = []
    first.connect("event", lambda _, kind, info: events.append((kind, info.unpack())))
    first.props.web_view.evaluate_javascript("document.querySelector('p.note').click()", -1, None, None, None)
    assert wait_until(lambda: events), "no event arrived"
    kind, info = events[0]
    assert kind == Zv.DomEvent.CLICK
    assert (info["eventType"], info["elementTag"], info["elementClass"]) == ("click", "P", "note")
    assert info["webView"] == first.props.identifier


def test_links_stay_with_the_host(views):
    first, _ = views
    clicked = []
    first.connect("link-clicked", lambda _, uri: clicked.append(uri))
    loaded(first, '<a id="go" href="https://example.org/">go</a>')
    first.props.web_view.evaluate_javascript("document.getElementById('go').click()", -1, None, None, None)
    assert wait_until(lambda: clicked), "the link was not handed over"
    assert clicked == ["https://example.org/"]
    assert first.props.web_view.get_uri() == "about:blank"


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


def test_page_controller_subclass(tmp_path):
    if not Gtk.init_check():
        pytest.skip("no display")
    (tmp_path / "en.lproj").mkdir()
    (tmp_path / "en.lproj" / "Greeting.html").write_text(
        '<html><head><title localizationkey="title">t</title></head><body>'
        '<h1 id="hello" localizationkey="hello">x</h1>'
        '<script>PageController.greet({"who": "Ana"})</script></body></html>')
    (tmp_path / "en.lproj" / "Greeting.html.strings").write_text(
        '"title" = "Greetings";\n"hello" = "Hello, ${who}";\n')
    window = Zv.WebWindowController.new()
    window.set_resource_directory(str(tmp_path))
    window.set_preferred_localization("en")
    page = GreetingPage()
    page.set_strings_directory(str(tmp_path))
    page.set_variable("who", "Ana", None)
    window.set_page_controller(page)
    window.load_file("Greeting", "html")
    assert wait_until(lambda: ("greet", {"who": "Ana"}) in page.calls), page.calls
    assert page.calls.index("will-load") < page.calls.index(("greet", {"who": "Ana"}))
    assert wait_until(lambda: "did-load" in page.calls)
    assert page.get_element_content("hello") == "Hello, Ana"
    assert window.get_window().get_title() == "Greetings"
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
