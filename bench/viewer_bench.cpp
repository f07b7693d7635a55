// The mail viewer at work, measured:
//
// 1. A Maildir of N messages (default 10,000) built in a scratch folder from
//    the mail corpus's messages (each copy with a Message-ID and Date of its
//    own): time from opening the window to the first screen of rows drawn,
//    time until every preview is computed, resident memory then.
// 2. A 50-message conversation (bodies taken from the corpus's HTML
//    messages), every message expanded: time to the first body painted and
//    to all loaded (the bodies near the screen; the others wait until
//    scrolled near), memory of the UI process and of the web processes, with
//    all views in one shared web process against one process per view; then
//    the time and memory to make every body view, as find does.
// 3. Reading through a mailbox (default 120 conversations of a Maildir built
//    like the first): each conversation shown half a second after the one
//    before has loaded, as a quick reader pressing Down; times to its first
//    body, and the slowest switches by their number (the shared web process
//    is renewed every fifty conversations).
//
// A plain program: it needs a display (run it under xvfb-run) and the main
// loop. Usage: viewer_bench [--messages N] [--thread N] [--switches N] [--shared-only] CORPUS_DIR
// (0 skips a part; --shared-only skips the process-per-view run)
#include "viewer/SoftwareGL.h"
#include "viewer/ViewerWindow.h"

#include <zv/scheme/IconThemeSymbols.h>

#include <gtk/gtk.h>

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace zvwk::viewer;

namespace {

double seconds(Clock::time_point from, Clock::time_point to) { return std::chrono::duration<double>(to - from).count(); }

bool spinUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    auto end = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > end) return false;
        if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// KiB from a "Name:   123 kB" line of a /proc file.
long procField(const std::string& file, const std::string& name) {
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line))
        if (line.starts_with(name + ":")) return std::atol(line.c_str() + name.size() + 1);
    return 0;
}

struct ChildMemory {
    int processes = 0;
    long rssKiB = 0;
    long pssKiB = 0;
    double cpuSeconds = 0;
};

// CPU time of this process, all threads; on a machine shared with other
// jobs it says more than the wall clock.
double ownCPUSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double processCPUSeconds(int pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    size_t close = line.rfind(')');
    if (close == std::string::npos) return 0;
    std::istringstream fields(line.substr(close + 2));
    std::string field;
    unsigned long utime = 0, stime = 0;
    for (int i = 3; i <= 15 && fields >> field; ++i) {
        if (i == 14) utime = std::stoul(field);
        if (i == 15) stime = std::stoul(field);
    }
    return double(utime + stime) / double(sysconf(_SC_CLK_TCK));
}

struct ProcessInfo {
    int pid = 0;
    int parent = 0;
    std::string name;
};

std::vector<ProcessInfo> allProcesses() {
    std::vector<ProcessInfo> processes;
    DIR* proc = opendir("/proc");
    while (dirent* entry = proc ? readdir(proc) : nullptr) {
        std::ifstream stat(std::string("/proc/") + entry->d_name + "/stat");
        std::string line;
        if (!std::getline(stat, line)) continue;
        size_t open = line.find('('), close = line.rfind(')');
        if (open == std::string::npos || close == std::string::npos) continue;
        char state = 0;
        ProcessInfo info;
        if (std::sscanf(line.c_str() + close + 1, " %c %d", &state, &info.parent) != 2 || state == 'Z') continue;
        info.pid = std::atoi(entry->d_name);
        info.name = line.substr(open + 1, close - open - 1);
        processes.push_back(std::move(info));
    }
    if (proc) closedir(proc);
    return processes;
}

// The WebKit processes below this one (with the sandbox on, the web
// processes are children of bubblewrap, not of this process).
ChildMemory webKitChildren() {
    std::vector<ProcessInfo> processes = allProcesses();
    std::vector<int> ours{getpid()};
    for (bool grew = true; grew;) {
        grew = false;
        for (const ProcessInfo& p : processes)
            if (std::count(ours.begin(), ours.end(), p.parent) && !std::count(ours.begin(), ours.end(), p.pid)) {
                ours.push_back(p.pid);
                grew = true;
            }
    }
    ChildMemory memory;
    for (const ProcessInfo& p : processes) {
        if (p.pid == getpid() || !std::count(ours.begin(), ours.end(), p.pid) || !p.name.starts_with("WebKit")) continue;
        std::string dir = "/proc/" + std::to_string(p.pid);
        if (p.name.starts_with("WebKitWebProces")) ++memory.processes;
        memory.rssKiB += procField(dir + "/status", "VmRSS");
        memory.pssKiB += procField(dir + "/smaps_rollup", "Pss");
        memory.cpuSeconds += processCPUSeconds(p.pid);
    }
    return memory;
}

std::vector<fs::path> corpusMessages(const fs::path& corpus) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(corpus, fs::directory_options::skip_permission_denied))
        if (entry.is_regular_file() && entry.path().extension() == ".eml") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::string rfc2822Date(std::int64_t seconds) {
    GDateTime* date = g_date_time_new_from_unix_utc(seconds);
    char* text = g_date_time_format(date, "%a, %d %b %Y %H:%M:%S +0000");
    std::string out = text;
    g_free(text);
    g_date_time_unref(date);
    return out;
}

// Each copy gets headers of its own in front; GMime takes the first of a
// repeated header, so the copies are distinct messages.
void buildMaildir(const fs::path& dir, const std::vector<fs::path>& sources, std::size_t count) {
    fs::remove_all(dir);
    fs::create_directories(dir / "cur");
    fs::create_directories(dir / "new");
    fs::create_directories(dir / "tmp");
    std::vector<std::string> bodies;
    for (const fs::path& source : sources) bodies.push_back(readFile(source));
    std::int64_t start = 1767225600;  // 1 Jan 2026
    for (std::size_t i = 0; i < count; ++i) {
        std::int64_t when = start + std::int64_t(i) * 600;
        std::ofstream out(dir / "cur" / (std::to_string(when) + "." + std::to_string(i) + ".bench:2,S"), std::ios::binary);
        out << "Message-ID: <" << i << ".bench@zvwk.example>\r\nDate: " << rfc2822Date(when) << "\r\n"
            << bodies[i % bodies.size()];
    }
}

void buildThread(const fs::path& dir, const std::vector<fs::path>& sources, std::size_t count) {
    fs::remove_all(dir);
    fs::create_directories(dir / "cur");
    std::vector<std::string> htmls;
    for (const fs::path& source : sources) {
        MessageContent content = contentFromBytes(readFile(source));
        if (content.html && content.error.empty() && content.html->size() < 200000) htmls.push_back(*content.html);
    }
    std::string references;
    std::int64_t start = 1767225600;
    for (std::size_t i = 0; i < count; ++i) {
        std::string id = "<t" + std::to_string(i) + ".bench@zvwk.example>";
        std::ofstream out(dir / "cur" / (std::to_string(start + std::int64_t(i) * 60) + ".t" + std::to_string(i)), std::ios::binary);
        out << "From: Person " << i % 7 << " <p" << i % 7 << "@zvwk.example>\r\nTo: team@zvwk.example\r\n"
            << "Subject: " << (i ? "Re: " : "") << "A long thread\r\nDate: " << rfc2822Date(start + std::int64_t(i) * 60)
            << "\r\nMessage-ID: " << id << "\r\n" << (references.empty() ? "" : "References: " + references + "\r\n")
            << "MIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" << htmls[(i * 7) % htmls.size()];
        references += (references.empty() ? "" : " ") + id;
    }
}

GtkApplication* makeApplication() {
    GtkApplication* application = gtk_application_new("org.zvwebkit.MailViewerBench", G_APPLICATION_NON_UNIQUE);
    g_application_register(G_APPLICATION(application), nullptr, nullptr);
    return application;
}

void waitForChildrenToExit() {
    spinUntil([] { return webKitChildren().processes == 0; }, std::chrono::seconds(30));
}

void measureMailbox(GtkApplication* application, const fs::path& maildir, std::size_t count) {
    ViewerOptions options;
    options.paths = {maildir.string()};
    bool firstScreen = false, previewsDone = false;
    long rssBefore = procField("/proc/self/status", "VmRSS");
    double cpuAtStart = ownCPUSeconds(), firstScreenCPU = 0, previewsCPU = 0;
    Clock::time_point started = Clock::now(), firstScreenAt, readAt, previewsAt;
    auto window = std::make_unique<ViewerWindow>(application, options);
    window->mailboxReadHook = [&] { readAt = Clock::now(); };
    window->previewsDoneHook = [&] {
        if (!previewsDone) previewsAt = Clock::now();
        if (!previewsDone) previewsCPU = ownCPUSeconds();
        previewsDone = true;
    };
    gtk_window_present(window->window());
    GdkFrameClock* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window->window()));
    // The first screen: a frame painted after the list has drawn a window's
    // worth of rows (or all there are).
    struct Watch {
        ViewerWindow* window;
        bool* done;
        Clock::time_point* at;
        double* cpu;
    } watch{window.get(), &firstScreen, &firstScreenAt, &firstScreenCPU};
    gulong handler = g_signal_connect(clock, "after-paint", G_CALLBACK(+[](GdkFrameClock*, gpointer data) {
                                          auto* w = static_cast<Watch*>(data);
                                          std::size_t rows = w->window->messageList().rowCount();

                                          if (*w->done || rows == 0) return;
                                          if (w->window->messageList().rowsShown() < std::min<std::size_t>(rows, 12)) return;
                                          *w->done = true;
                                          *w->at = Clock::now();
                                          *w->cpu = ownCPUSeconds();
                                      }),
                                      &watch);
    Clock::time_point rowsAt, drawnAt;
    bool finished = spinUntil(
        [&] {
            if (rowsAt == Clock::time_point() && window->messageList().rowCount() > 0) rowsAt = Clock::now();
            if (drawnAt == Clock::time_point() && window->messageList().rowsShown() > 0) drawnAt = Clock::now();
            return firstScreen && previewsDone;
        },
        std::chrono::seconds(600));
    std::cout << "rows in the list model after " << seconds(started, rowsAt) << " s, first row bound after "
              << seconds(started, drawnAt) << " s\n";
    g_signal_handler_disconnect(clock, handler);
    long rss = procField("/proc/self/status", "VmRSS");
    long hwm = procField("/proc/self/status", "VmHWM");

    std::cout << "| Maildir of " << count << " messages (" << window->messages().size() << " read, "
              << window->conversations().size() << " conversations) | first screen of rows "
              << (firstScreen ? seconds(started, firstScreenAt) : -1) << " s (CPU " << firstScreenCPU - cpuAtStart
              << " s) | all headers read " << seconds(started, readAt) << " s | all previews "
              << (finished ? seconds(started, previewsAt) : -1) << " s (CPU " << previewsCPU - cpuAtStart
              << " s) | UI process RSS " << rss / 1024 << " MiB (peak " << hwm / 1024 << " MiB, "
              << rssBefore / 1024 << " MiB before the window) |\n";
    window.reset();
    waitForChildrenToExit();
}

// A window with its mailbox read and a second to settle (its web process
// starts at idle), nothing shown yet.
std::unique_ptr<ViewerWindow> settledWindow(GtkApplication* application, ViewerOptions options) {
    options.select = std::size_t(-1);
    auto window = std::make_unique<ViewerWindow>(application, options);
    gtk_window_present(window->window());
    spinUntil([&] { return window->isMailboxRead(); }, std::chrono::seconds(60));
    spinUntil([] { return false; }, std::chrono::seconds(1));
    return window;
}

// Views far off screen wait until scrolled near; find makes them all. The
// time and memory that takes, from the loaded conversation.
void measureEveryView(ViewerWindow& window) {
    const auto& cards = window.conversationView().cards();
    Clock::time_point started = Clock::now();
    for (const auto& card : cards) card->makeBodyViewAnyway();
    bool loaded = spinUntil(
        [&] { return std::all_of(cards.begin(), cards.end(), [](const auto& card) { return card->isBodyLoaded(); }); },
        std::chrono::seconds(300));
    double took = seconds(started, Clock::now());
    spinUntil([] { return false; }, std::chrono::seconds(2));  // memory settles
    long ui = procField("/proc/self/status", "VmRSS");
    std::cout << "| every body view made as find makes them | all loaded " << (loaded ? took : -1)
              << " s later | total (UI RSS + PSS) " << (ui + webKitChildren().pssKiB) / 1024 << " MiB |\n";
}

void measureThread(GtkApplication* application, const fs::path& threadDir, bool shared) {
    ViewerOptions options;
    options.paths = {threadDir.string()};
    options.conversation.shareWebProcess = shared;
    options.conversation.expandedNewest = 0;
    auto window = settledWindow(application, options);
    long uiBefore = procField("/proc/self/status", "VmRSS");
    double uiCPUBefore = ownCPUSeconds(), webCPUBefore = webKitChildren().cpuSeconds;
    double uiCPUAll = 0, webCPUAll = 0;

    bool first = false, all = false;
    Clock::time_point started = Clock::now(), firstAt, allAt;
    window->conversationView().firstBodyLoaded = [&] {
        first = true;
        firstAt = Clock::now();
    };
    window->conversationView().loaded = [&] {
        all = true;
        allAt = Clock::now();
        uiCPUAll = ownCPUSeconds();
        webCPUAll = webKitChildren().cpuSeconds;
    };
    window->showConversation(0);
    bool loaded = spinUntil([&] { return all; }, std::chrono::seconds(300));
    spinUntil([] { return false; }, std::chrono::seconds(2));  // memory settles
    ChildMemory children = webKitChildren();
    long ui = procField("/proc/self/status", "VmRSS");
    std::size_t views = window->conversationView().cards().size(), made = 0;
    for (const auto& card : window->conversationView().cards()) made += card->bodyView() != nullptr;
    std::cout << "| " << views << "-message conversation, " << (shared ? "one shared web process" : "a process per view")
              << " | " << made << " body views made | first body " << (first ? seconds(started, firstAt) : -1) << " s | all loaded "
              << (loaded ? seconds(started, allAt) : -1) << " s (CPU: UI " << uiCPUAll - uiCPUBefore << " s, web "
              << webCPUAll - webCPUBefore << " s) | web processes " << children.processes
              << " | web+network RSS " << children.rssKiB / 1024 << " MiB, PSS " << children.pssKiB / 1024
              << " MiB | UI RSS " << ui / 1024 << " MiB (+" << (ui - uiBefore) / 1024 << ") | total (UI RSS + PSS) "
              << (ui + children.pssKiB) / 1024 << " MiB |\n";
    measureEveryView(*window);
    window.reset();
    waitForChildrenToExit();
}

void measureSwitches(GtkApplication* application, const fs::path& maildir, std::size_t count) {
    ViewerOptions options;
    options.paths = {maildir.string()};
    auto window = settledWindow(application, options);
    std::size_t rows = window->messageList().rowCount();
    std::vector<std::pair<double, std::size_t>> firsts;  // seconds, switch number
    bool first = false, all = false;
    std::size_t switchNumber = 0;
    Clock::time_point started;
    window->conversationView().firstBodyLoaded = [&] {
        if (!first) firsts.emplace_back(seconds(started, Clock::now()), switchNumber);
        first = true;
    };
    window->conversationView().loaded = [&] { all = true; };
    std::size_t lost = 0;
    for (std::size_t i = 0; i < count && rows; ++i) {
        first = all = false;
        switchNumber = i + 1;
        started = Clock::now();
        window->showConversation(i % rows);
        if (!spinUntil([&] { return all; }, std::chrono::seconds(60)) || !first) ++lost;
        spinUntil([] { return false; }, std::chrono::milliseconds(500));  // the reader's glance
    }
    std::vector<std::pair<double, std::size_t>> sorted = firsts;
    std::sort(sorted.begin(), sorted.end());
    auto at = [&](double q) { return sorted.empty() ? -1 : sorted[std::size_t(q * double(sorted.size() - 1))].first; };
    std::cout << "| " << firsts.size() << " conversations read in turn | first body: median " << at(0.5) << " s, p90 "
              << at(0.9) << " s | slowest:";
    for (std::size_t i = sorted.size(); i-- > 0 && i + 4 > sorted.size();)
        std::cout << " " << sorted[i].first << " s (switch " << sorted[i].second << ")";
    std::cout << " | not loaded within 60 s: " << lost << " |\n";
    window.reset();
    waitForChildrenToExit();
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t messages = 10000, thread = 50, switches = 120;
    bool sharedOnly = false;
    std::string corpus;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--messages" && i + 1 < argc) messages = std::stoul(argv[++i]);
        else if (arg == "--thread" && i + 1 < argc) thread = std::stoul(argv[++i]);
        else if (arg == "--switches" && i + 1 < argc) switches = std::stoul(argv[++i]);
        else if (arg == "--shared-only") sharedOnly = true;
        else corpus = arg;
    }
    if (corpus.empty() || !fs::is_directory(corpus)) {
        std::cerr << "usage: viewer_bench [--messages N] [--thread N] [--switches N] [--shared-only] CORPUS_DIR\n";
        return 2;
    }
    gtk_init();
    // As `zvwk view` starts: cairo where OpenGL is software, unless GSK_RENDERER says otherwise.
    bool cairo = zvwk::viewer::preferCairoOnSoftwareOpenGL(gdk_display_get_default());
    std::cout << "renderer: " << (cairo ? "cairo, chosen for software OpenGL" : "GTK's choice") << "\n";
    zv::useIconThemeSymbols();
    std::vector<fs::path> sources = corpusMessages(corpus);
    fs::path scratch = fs::temp_directory_path() / ("zvwk-viewer-bench-" + std::to_string(getpid()));
    buildMaildir(scratch / "maildir", sources, messages);
    buildThread(scratch / "thread", sources, thread);
    buildMaildir(scratch / "switching", sources, switches);
    std::cout << "corpus: " << sources.size() << " messages; scratch: " << scratch << "\n";

    GtkApplication* application = makeApplication();
    if (messages) measureMailbox(application, scratch / "maildir", messages);
    // Shared, one per view, shared again: the machine's load drifts.
    for (bool shared : {true, false, true})
        if (thread && (shared || !sharedOnly)) measureThread(application, scratch / "thread", shared);
    if (switches) measureSwitches(application, scratch / "switching", switches);
    g_object_unref(application);
    fs::remove_all(scratch);
    return 0;
}
