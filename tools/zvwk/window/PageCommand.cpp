// zvwk page: shows one of a host's pages from disk in a page window, the way
// a host application would: the page's folder is its resource bundle
// (strings in <lang>.lproj/<page file>.strings, localized copies of the page
// beside them), includes are merged, and the page controller is the class
// registered as <page name>Page when there is one ("About.html" gets
// AboutPage), else the plain one. Stays until the window is closed.
#include "Commands.h"
#include "mail/InputFile.h"
#include "snapshot/WindowSnapshot.h"

#include <zv/foundation/Bundle.h>
#include <zv/foundation/MainThread.h>
#include <zv/page/PageControllerRegistry.h>
#include <zv/page/ZVWebWindowController.h>

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <filesystem>
#include <iostream>

namespace zvwk {

namespace {

// The sample About page's controller: fills ${webkitVersion} and
// ${gtkVersion} and closes the window for the page's button.
class AboutPage : public zv::ZVWebPageController {
public:
    AboutPage() {
        setValueForVariable(version(webkit_get_major_version(), webkit_get_minor_version(), webkit_get_micro_version()),
                            "webkitVersion");
        setValueForVariable(version(gtk_get_major_version(), gtk_get_minor_version(), gtk_get_micro_version()),
                            "gtkVersion");
        registerAction("close", &AboutPage::close);
    }

    // The page's button calls PageController.close().
    void pageWillLoad() override { registerJavascriptMethod("close:"); }

private:
    static std::string version(unsigned major, unsigned minor, unsigned micro) {
        return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
    }
    void close(const zv::Notification&) {
        if (auto window = windowController()) window->closeWindow();
    }
};

struct Options {
    std::string file;
    std::optional<std::string> language;
    std::optional<std::string> screenshot;
};

std::optional<Options> parse(const Args& args, int& status) {
    Options options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if ((arg == "--lang" || arg == "--screenshot") && i + 1 < args.size()) {
            (arg == "--lang" ? options.language : options.screenshot) = args[++i];
        } else if (arg.starts_with("--") || !options.file.empty()) {
            status = usageError("page: unexpected argument '" + arg + "'");
            return std::nullopt;
        } else {
            options.file = arg;
        }
    }
    if (options.file.empty()) {
        status = usageError("page: no page file");
        return std::nullopt;
    }
    return options;
}

}  // namespace

int runPage(const Args& args) {
    int status = 0;
    std::optional<Options> options = parse(args, status);
    if (!options) return status;
    std::string reason;
    if (!readInput(options->file, reason)) {
        std::cerr << "zvwk: " << options->file << ": " << reason << "\n";
        return 1;
    }
    if (!gtk_init_check()) {
        std::cerr << "zvwk: page: cannot open a display\n";
        return 1;
    }
    namespace fs = std::filesystem;
    fs::path file = fs::absolute(options->file);
    // The page may sit in a language folder itself; its bundle is then above.
    fs::path folder = file.parent_path();
    if (folder.extension() == ".lproj") folder = folder.parent_path();
    std::vector<std::string> languages = zv::preferredLanguages();
    if (options->language) languages.insert(languages.begin(), *options->language);
    auto bundle = std::make_shared<zv::Bundle>(folder.string(), languages);

    zv::registerPageControllerClass<AboutPage>("AboutPage");
    std::string name = file.stem().string();
    std::string extension = file.has_extension() ? file.extension().string().substr(1) : "html";
    std::optional<zv::RegisteredInstance> made = zv::makeRegisteredInstance(name + "Page");
    auto controller = made && made->pageController ? made->pageController : zv::ZVWebPageController::create();
    controller->setLocalizationBundle(bundle);

    auto window = zv::ZVWebWindowController::create();
    window->setResourceBundle(bundle);
    window->setPreferredLocalization(options->language);
    window->setPageController(controller);
    window->exposeWindowMethodsToPage();

    struct RunState {
        GtkWidget* window;
        bool shown = false;
        bool closed = false;
        bool failed = false;
        bool screenshotDue = false;
    } state{GTK_WIDGET(window->window())};
    controller->setPageLoadedCompletion([&](std::optional<zv::Error> error) {
        if (error) {
            std::cerr << "zvwk: " << options->file << ": the page could not be loaded\n";
            state.failed = true;
        } else if (options->screenshot) {
            // Give the engine a moment to paint what it just laid out.
            g_timeout_add_once(500, [](gpointer data) { static_cast<RunState*>(data)->screenshotDue = true; }, &state);
        }
    });
    g_signal_connect_swapped(window->window(), "notify::visible", G_CALLBACK(+[](RunState* s) {
                                 if (gtk_widget_get_visible(s->window))
                                     s->shown = true;
                                 else if (s->shown)
                                     s->closed = true;
                             }),
                             &state);
    window->loadFile(name, extension);
    if (window->filePath().empty()) {
        std::cerr << "zvwk: " << options->file << ": not found in " << folder.string() << "\n";
        return 1;
    }
    while (!state.closed && !state.failed && !state.screenshotDue) g_main_context_iteration(nullptr, TRUE);
    int result = state.failed ? 1 : 0;
    std::string snapshotError;
    if (options->screenshot && result == 0 &&
        !writeWindowPNG(window->window(), *options->screenshot, snapshotError)) {
        std::cerr << "zvwk: " << *options->screenshot << ": " << snapshotError << "\n";
        result = 1;
    }
    return result;
}

}  // namespace zvwk
