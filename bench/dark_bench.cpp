// Dark adaptation in WebKitGTK views, side by side with DarkReader injected
// as a user script (the peer) and with no adaptation:
//
// 1. Corpus: each sampled message, prepared as the viewer prepares it, is
//    loaded in a safe view (no script markup) and measured in the page from
//    computed styles (bench/dark_measure.js): the share of visible text
//    elements with a WCAG 2 contrast of at least 4.5:1 against the background
//    they are drawn on, and the share of sampled background points that are
//    dark (relative luminance under 0.1).
// 2. Conversation: N messages (default 50) in N views of one web process in
//    one window; the time from the first message's preparation until every
//    view has loaded and drawn a frame (with the peer, until its styles are
//    in), per mode, in rounds that alternate the modes.
//
// With --snapshot DIR, each FILE is drawn instead in a 640x1000 view in each
// mode (no adaptation, ours, DarkReader), and the three pictures are saved
// side by side as DIR/dark-NAME.png (scripts/take-dark-screenshots).
//
// A plain program: it needs a display (xvfb-run) and the main loop.
// Usage: dark_bench [--sample N] [--thread N] [--rounds N] CORPUS_HTML_DIR DARKREADER_JS
//        dark_bench --snapshot DIR DARKREADER_JS NAME=FILE...
#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/DarkAdaptation.h>
#include <zv/reading/SafeMessageView.h>

#include <gtk/gtk.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

enum class Mode { None, Ours, Peer };
constexpr Mode kModes[] = {Mode::None, Mode::Ours, Mode::Peer};
const char* modeName(Mode mode) { return mode == Mode::None ? "none" : mode == Mode::Ours ? "ours" : "DarkReader"; }

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool spinUntil(const std::function<bool()>& done, std::chrono::seconds limit) {
    auto end = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > end) return false;
        if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// What the viewer loads: head CSS inlined and purged, the safe view's
// rewriting; with ours, the adaptation (of the message whole, its sheets in
// place, when it has dark styles of its own).
std::string prepare(const std::string& html, Mode mode) {
    auto document = zv::html::HTMLParser(html).parseDocument();
    bool ownDark = mode == Mode::Ours && zv::declaresOwnDarkAppearance(*document);
    if (!ownDark) zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
    if (mode == Mode::Ours) zv::adaptDocumentForDarkAppearance(*document);
    zv::prepareDocumentForSafeView(*document, zv::SafeViewOptions{});
    auto* root = document->documentElement();
    return root ? "<!DOCTYPE html>" + root->outerHTML() : std::string();
}

struct Views {
    std::string peerScript;
    std::string measureScript;
    WebKitWebView* anchor = nullptr;

    WebKitWebView* create(Mode mode) {
        WebKitSettings* settings = webkit_settings_new();
        g_object_set(settings, "enable-javascript-markup", FALSE, nullptr);
        webkit_settings_set_hardware_acceleration_policy(settings, WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
        WebKitUserContentManager* manager = webkit_user_content_manager_new();
        if (mode == Mode::Peer) {
            WebKitUserScript* script = webkit_user_script_new(
                peerScript.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START,
                nullptr, nullptr);
            webkit_user_content_manager_add_script(manager, script);
            webkit_user_script_unref(script);
        }
        auto* view = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings, "user-content-manager",
                                                  manager, anchor ? "related-view" : nullptr, anchor, nullptr));
        g_object_unref(settings);
        g_object_unref(manager);
        // Held past its window, so later windows' views still share its web process.
        if (!anchor) anchor = WEBKIT_WEB_VIEW(g_object_ref_sink(view));
        return view;
    }
};

struct Load {
    bool finished = false;
    static void onChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
        if (event == WEBKIT_LOAD_FINISHED) static_cast<Load*>(data)->finished = true;
    }
};

struct Measure {
    bool done = false;
    std::string json;
    static void onResult(GObject* source, GAsyncResult* result, gpointer data) {
        auto* measure = static_cast<Measure*>(data);
        GError* error = nullptr;
        JSCValue* value = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), result, &error);
        if (value) {
            char* text = jsc_value_to_string(value);
            measure->json = text;
            g_free(text);
            g_object_unref(value);
        } else {
            std::cerr << "dark_bench: " << (error ? error->message : "no result") << "\n";
            g_clear_error(&error);
        }
        measure->done = true;
    }
};

void callAsync(WebKitWebView* view, const std::string& body, Mode mode, Measure* measure) {
    GVariantDict arguments;
    g_variant_dict_init(&arguments, nullptr);
    g_variant_dict_insert(&arguments, "peer", "i", int(mode == Mode::Peer));
    webkit_web_view_call_async_javascript_function(view, body.c_str(), gssize(body.size()),
                                                   g_variant_dict_end(&arguments), nullptr, nullptr, nullptr,
                                                   Measure::onResult, measure);
}

struct Totals {
    long texts = 0, legible = 0, overImages = 0, points = 0, dark = 0, failedLoads = 0;
    // The same two counts over messages without dark styles of their own.
    long plainTexts = 0, plainLegible = 0;
    std::vector<std::string> failures;
};

void measureCorpus(Views& views, const std::vector<fs::path>& files, Totals totals[3]) {
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 800, 900);
    GtkWidget* stack = gtk_stack_new();
    gtk_window_set_child(GTK_WINDOW(window), stack);
    WebKitWebView* view[3];
    for (Mode mode : kModes) {
        view[int(mode)] = views.create(mode);
        gtk_stack_add_child(GTK_STACK(stack), GTK_WIDGET(view[int(mode)]));
    }
    gtk_window_present(GTK_WINDOW(window));
    std::size_t index = 0;
    for (const fs::path& file : files) {
        std::string html = readFile(file);
        bool ownDark = zv::declaresOwnDarkAppearance(*zv::html::HTMLParser(html).parseDocument());
        for (Mode mode : kModes) {
            WebKitWebView* current = view[int(mode)];
            gtk_stack_set_visible_child(GTK_STACK(stack), GTK_WIDGET(current));
            Load load;
            gulong handler = g_signal_connect(current, "load-changed", G_CALLBACK(Load::onChanged), &load);
            webkit_web_view_load_html(current, prepare(html, mode).c_str(), nullptr);
            bool loaded = spinUntil([&] { return load.finished; }, std::chrono::seconds(30));
            g_signal_handler_disconnect(current, handler);
            Totals& total = totals[int(mode)];
            Measure measure;
            if (loaded) {
                callAsync(current, views.measureScript, mode, &measure);
                spinUntil([&] { return measure.done; }, std::chrono::seconds(30));
            }
            if (measure.json.empty()) {
                ++total.failedLoads;
                continue;
            }
            auto result = nlohmann::json::parse(measure.json);
            total.texts += result["texts"].get<long>();
            total.legible += result["legible"].get<long>();
            if (!ownDark) {
                total.plainTexts += result["texts"].get<long>();
                total.plainLegible += result["legible"].get<long>();
            }
            total.overImages += result["overImages"].get<long>();
            total.points += result["points"].get<long>();
            total.dark += result["dark"].get<long>();
            for (const auto& failure : result["failures"])
                if (total.failures.size() < 12) total.failures.push_back(file.filename().string() + ": " + failure.get<std::string>());
        }
        if (++index % 20 == 0) std::cerr << "dark_bench: " << index << " of " << files.size() << " messages\n";
    }
    gtk_window_destroy(GTK_WINDOW(window));
}

// Seconds from the first preparation until all views are drawn.
double conversationSeconds(Views& views, const std::vector<std::string>& messages, Mode mode) {
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 860, 1000);
    GtkWidget* scrolled = gtk_scrolled_window_new();
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), box);
    gtk_window_set_child(GTK_WINDOW(window), scrolled);
    gtk_window_present(GTK_WINDOW(window));
    spinUntil([] { return false; }, std::chrono::seconds(0));

    const std::string drawn = "await new Promise(r => requestAnimationFrame(() => r()));"
                              "if (peer) for (let i = 0; i < 200 && !document.querySelector('style.darkreader'); ++i)"
                              "  await new Promise(r => setTimeout(r, 10));"
                              "await new Promise(r => requestAnimationFrame(() => r())); return 1;";
    std::vector<Load> loads(messages.size());
    std::vector<Measure> draws(messages.size());
    std::vector<bool> asked(messages.size());
    std::vector<WebKitWebView*> webViews;
    auto start = Clock::now();
    for (std::size_t i = 0; i < messages.size(); ++i) {
        WebKitWebView* view = views.create(mode);
        gtk_widget_set_size_request(GTK_WIDGET(view), 800, 500);
        gtk_box_append(GTK_BOX(box), GTK_WIDGET(view));
        g_signal_connect(view, "load-changed", G_CALLBACK(Load::onChanged), &loads[i]);
        webkit_web_view_load_html(view, prepare(messages[i], mode).c_str(), nullptr);
        webViews.push_back(view);
    }
    bool done = spinUntil([&] {
        bool all = true;
        for (std::size_t i = 0; i < messages.size(); ++i) {
            if (loads[i].finished && !asked[i]) {
                asked[i] = true;
                callAsync(webViews[i], drawn, mode, &draws[i]);
            }
            all = all && draws[i].done;
        }
        return all;
    }, std::chrono::seconds(120));
    double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    for (std::size_t i = 0; i < messages.size(); ++i) g_signal_handlers_disconnect_by_data(webViews[i], &loads[i]);
    gtk_window_destroy(GTK_WINDOW(window));
    spinUntil([] { return false; }, std::chrono::seconds(1));
    return done ? seconds : -1;
}

struct Snapshot {
    bool done = false;
    GdkTexture* texture = nullptr;
    static void onTexture(GObject* source, GAsyncResult* result, gpointer data) {
        auto* snapshot = static_cast<Snapshot*>(data);
        GError* error = nullptr;
        snapshot->texture = webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(source), result, &error);
        if (error) std::cerr << "dark_bench: " << error->message << "\n";
        g_clear_error(&error);
        snapshot->done = true;
    }
};

// The three pictures side by side, 8 pixels apart on opaque mid grey.
bool saveSideBySide(const std::vector<GdkTexture*>& textures, const std::string& path) {
    constexpr int kGap = 8;
    int width = kGap, height = 0;
    for (GdkTexture* texture : textures) {
        width += gdk_texture_get_width(texture) + kGap;
        height = std::max(height, gdk_texture_get_height(texture));
    }
    height += 2 * kGap;
    std::size_t stride = std::size_t(width) * 4;
    std::vector<guchar> pixels(stride * std::size_t(height), 0x80);
    for (std::size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 0xff;
    int x = kGap;
    for (GdkTexture* texture : textures) {
        int w = gdk_texture_get_width(texture), h = gdk_texture_get_height(texture);
        gdk_texture_download(texture, pixels.data() + std::size_t(kGap) * stride + std::size_t(x) * 4, stride);
        x += w + kGap;
        (void)h;
    }
    GBytes* bytes = g_bytes_new(pixels.data(), pixels.size());
    GdkTexture* combined = gdk_memory_texture_new(width, height, GDK_MEMORY_DEFAULT, bytes, stride);
    bool saved = gdk_texture_save_to_png(combined, path.c_str());
    g_object_unref(combined);
    g_bytes_unref(bytes);
    return saved;
}

int snapshots(Views& views, const fs::path& out, const std::vector<std::string>& files) {
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 640, 1000);
    GtkWidget* stack = gtk_stack_new();
    gtk_window_set_child(GTK_WINDOW(window), stack);
    gtk_window_present(GTK_WINDOW(window));
    int status = 0;
    for (const std::string& operand : files) {
        std::size_t equals = operand.find('=');
        std::string name = operand.substr(0, equals), file = operand.substr(equals + 1);
        if (equals == std::string::npos || !fs::is_regular_file(file)) {
            std::cerr << "dark_bench: " << operand << ": not NAME=FILE with a readable FILE\n";
            status = 1;
            continue;
        }
        std::string html = readFile(file);
        std::vector<GdkTexture*> textures;
        for (Mode mode : kModes) {
            WebKitWebView* view = views.create(mode);
            gtk_stack_add_child(GTK_STACK(stack), GTK_WIDGET(view));
            gtk_stack_set_visible_child(GTK_STACK(stack), GTK_WIDGET(view));
            Load load;
            g_signal_connect(view, "load-changed", G_CALLBACK(Load::onChanged), &load);
            webkit_web_view_load_html(view, prepare(html, mode).c_str(), nullptr);
            Measure drawn;
            bool ok = spinUntil([&] { return load.finished; }, std::chrono::seconds(30));
            if (ok) callAsync(view, views.measureScript, mode, &drawn);
            ok = ok && spinUntil([&] { return drawn.done; }, std::chrono::seconds(30));
            Snapshot snapshot;
            if (ok) webkit_web_view_get_snapshot(view, WEBKIT_SNAPSHOT_REGION_VISIBLE, WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr,
                                                 Snapshot::onTexture, &snapshot);
            if (ok && spinUntil([&] { return snapshot.done; }, std::chrono::seconds(30)) && snapshot.texture)
                textures.push_back(snapshot.texture);
            g_signal_handlers_disconnect_by_data(view, &load);
            gtk_stack_remove(GTK_STACK(stack), GTK_WIDGET(view));
        }
        std::string path = out / ("dark-" + name + ".png");
        if (textures.size() == 3 && saveSideBySide(textures, path)) std::cout << path << "\n";
        else status = 1;
        for (GdkTexture* texture : textures) g_object_unref(texture);
    }
    gtk_window_destroy(GTK_WINDOW(window));
    return status;
}

double percent(long part, long whole) { return whole ? 100.0 * double(part) / double(whole) : 0; }

}  // namespace

int main(int argc, char** argv) {
    std::size_t sample = 150, thread = 50, rounds = 3;
    std::vector<std::string> operands;
    std::string snapshotDir;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--snapshot" && i + 1 < argc) {
            snapshotDir = argv[++i];
        } else if ((arg == "--sample" || arg == "--thread" || arg == "--rounds") && i + 1 < argc) {
            std::size_t value = std::stoul(argv[++i]);
            (arg == "--sample" ? sample : arg == "--thread" ? thread : rounds) = value;
        } else {
            operands.push_back(arg);
        }
    }
    if (!snapshotDir.empty() && operands.size() >= 2) {
        gtk_init();
        // Drawn as measured: messages with dark styles of their own see a dark desktop.
        g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", TRUE, nullptr);
        Views views;
        views.peerScript = readFile(operands[0]) + "\nDarkReader.enable();\n";
        views.measureScript = readFile(fs::path(ZV_BENCH_SOURCE_DIR) / "dark_measure.js");
        return snapshots(views, snapshotDir, {operands.begin() + 1, operands.end()});
    }
    if (operands.size() != 2) {
        std::cerr << "usage: dark_bench [--sample N] [--thread N] [--rounds N] CORPUS_HTML_DIR DARKREADER_JS\n";
        return 2;
    }
    gtk_init();
    // The desktop is dark in every mode: messages with dark styles of their own see it.
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", TRUE, nullptr);

    Views views;
    views.peerScript = readFile(operands[1]) + "\nDarkReader.enable();\n";
    views.measureScript = readFile(fs::path(ZV_BENCH_SOURCE_DIR) / "dark_measure.js");

    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(operands[0]))
        if (entry.is_regular_file() && entry.file_size() < 300000) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<fs::path> sampled;
    for (std::size_t i = 0; i < files.size() && sample; i += std::max<std::size_t>(1, files.size() / sample))
        if (sampled.size() < sample) sampled.push_back(files[i]);

    if (!sampled.empty()) {
        Totals totals[3];
        measureCorpus(views, sampled, totals);
        std::printf("corpus: %zu messages (every %zu-th of %zu under 300 KB)\n\n", sampled.size(),
                    std::max<std::size_t>(1, files.size() / sample), files.size());
        std::printf("| | legible text elements | the same, messages without dark styles of their own | text over images (not counted) | dark background points | failed loads |\n|---|---:|---:|---:|---:|---:|\n");
        for (Mode mode : kModes) {
            const Totals& t = totals[int(mode)];
            std::printf("| %s | %.2f %% (%ld of %ld) | %.2f %% (%ld of %ld) | %ld | %.1f %% (%ld of %ld) | %ld |\n",
                        modeName(mode), percent(t.legible, t.texts), t.legible, t.texts,
                        percent(t.plainLegible, t.plainTexts), t.plainLegible, t.plainTexts, t.overImages,
                        percent(t.dark, t.points), t.dark, t.points, t.failedLoads);
        }
        for (Mode mode : kModes)
            for (const std::string& failure : totals[int(mode)].failures)
                std::fprintf(stderr, "%s illegible: %s\n", modeName(mode), failure.c_str());
    }

    if (thread) {
        std::vector<std::string> messages;
        for (std::size_t i = 0; messages.size() < thread && !files.empty(); i += 7)
            messages.push_back(readFile(files[i % files.size()]));
        std::vector<double> seconds[3];
        // One round unmeasured: the web process starts and its caches fill.
        conversationSeconds(views, messages, Mode::None);
        for (std::size_t round = 0; round < rounds; ++round)
            for (Mode mode : kModes) seconds[int(mode)].push_back(conversationSeconds(views, messages, mode));
        auto median = [](std::vector<double> v) {
            std::sort(v.begin(), v.end());
            return v[v.size() / 2];
        };
        double none = median(seconds[0]), ours = median(seconds[1]), peer = median(seconds[2]);
        std::printf("\nconversation of %zu messages, until every view is drawn (median of %zu rounds after one warm-up):\n\n", thread, rounds);
        std::printf("| none | ours | DarkReader | ours adds | DarkReader adds | ours / DarkReader added |\n|---:|---:|---:|---:|---:|---:|\n");
        std::printf("| %.2f s | %.2f s | %.2f s | %.2f s | %.2f s | %.2f |\n", none, ours, peer, ours - none, peer - none,
                    peer > none ? (ours - none) / (peer - none) : 0.0);
        for (Mode mode : kModes) {
            std::fprintf(stderr, "%s rounds:", modeName(mode));
            for (double s : seconds[int(mode)]) std::fprintf(stderr, " %.2f", s);
            std::fprintf(stderr, "\n");
        }
    }
    return 0;
}
