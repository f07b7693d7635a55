#include <zv/foundation/Bundle.h>

#include <zv/foundation/Log.h>

#include <dlfcn.h>
#include <glib.h>

#include <algorithm>
#include <cstdlib>

namespace zv {

namespace {

constexpr char kDefaultTable[] = "Localizable";

void addUnique(std::vector<std::string>& list, std::string item) {
    if (std::find(list.begin(), list.end(), item) == list.end()) list.push_back(std::move(item));
}

// "de_DE.UTF-8@euro" is de_DE; "C" and "POSIX" are English.
std::string languageOfLocaleName(std::string_view name) {
    name = name.substr(0, name.find_first_of(".@"));
    if (name == "C" || name == "POSIX") return "en";
    return std::string(name);
}

bool isDirectory(const std::string& path) { return g_file_test(path.c_str(), G_FILE_TEST_IS_DIR); }
bool isFile(const std::string& path) { return g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR); }

std::string joined(std::string_view directory, std::string_view name) {
    std::string path(directory);
    if (!path.empty() && path.back() != '/') path += '/';
    return path + std::string(name);
}

std::string folderOf(std::string_view localization) {
    return localization.empty() ? std::string() : std::string(localization) + ".lproj";
}

std::string directoryOf(const char* path) {
    std::unique_ptr<char, decltype(&g_free)> directory(g_path_get_dirname(path), g_free);
    return directory.get();
}

// The `resources` folder beside the running executable.
std::string besideExecutable() {
    std::unique_ptr<char, decltype(&g_free)> exe(g_file_read_link("/proc/self/exe", nullptr), g_free);
    if (!exe) return "resources";
    return joined(directoryOf(exe.get()), "resources");
}

// `relative` resolved against `directory`, without "." or "..".
std::string resolved(const std::string& directory, const char* relative) {
    std::unique_ptr<char, decltype(&g_free)> path(g_canonicalize_filename(relative, directory.c_str()), g_free);
    return path.get();
}

// Where an installed copy keeps the framework's resources: a path relative to
// the file holding this code (the shared library, or the program when linked
// statically), so a moved installation still finds them.
std::string installedResources() {
#ifdef ZV_RESOURCES_FROM_CODE
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&installedResources), &info) && info.dli_fname &&
        g_path_is_absolute(info.dli_fname))
        return resolved(directoryOf(info.dli_fname), ZV_RESOURCES_FROM_CODE);
    // The main program's own name may come back as it was typed.
    std::unique_ptr<char, decltype(&g_free)> exe(g_file_read_link("/proc/self/exe", nullptr), g_free);
    if (exe) return resolved(directoryOf(exe.get()), ZV_RESOURCES_FROM_CODE);
#endif
    return {};
}

// Without a chosen path: the installed resources, else the ones the build
// assembled (a program run from the build tree), else those beside the program.
std::string defaultFrameworkPath() {
    if (std::string installed = installedResources(); !installed.empty() && isDirectory(installed)) return installed;
#ifdef ZV_RESOURCES_BUILD_DIR
    if (isDirectory(ZV_RESOURCES_BUILD_DIR)) return ZV_RESOURCES_BUILD_DIR;
#endif
    return besideExecutable();
}

struct NamedBundle {
    std::mutex mutex;
    std::string chosenPath;  // set by the host; empty until then
    std::shared_ptr<const Bundle> bundle;

    std::shared_ptr<const Bundle> get(const std::string& path) {
        std::lock_guard lock(mutex);
        if (!bundle || bundle->resourcePath() != path) bundle = std::make_shared<const Bundle>(path);
        return bundle;
    }
    std::string chosen() {
        std::lock_guard lock(mutex);
        return chosenPath;
    }
    void choose(std::string path) {
        std::lock_guard lock(mutex);
        chosenPath = std::move(path);
    }
};

NamedBundle& mainNamed() {
    static NamedBundle* named = new NamedBundle;
    return *named;
}

NamedBundle& frameworkNamed() {
    static NamedBundle* named = new NamedBundle;
    return *named;
}

}  // namespace

std::vector<std::string> preferredLanguages() {
    std::vector<std::string> languages;
    for (const char* const* name = g_get_language_names(); *name; ++name) {
        std::string language = languageOfLocaleName(*name);
        if (language.empty()) continue;
        addUnique(languages, language);
        size_t region = language.find_first_of("_-");
        if (region != std::string::npos) addUnique(languages, language.substr(0, region));
    }
    addUnique(languages, "en");
    return languages;
}

Bundle::Bundle(std::string resourcePath, std::vector<std::string> languages) : resourcePath_(std::move(resourcePath)) {
    auto addIfPresent = [this](const std::string& language) {
        if (isDirectory(joined(resourcePath_, folderOf(language)))) addUnique(searchOrder_, language);
    };
    for (const std::string& language : languages) {
        addIfPresent(language);
        // Folders are named either way: pt_BR.lproj or pt-BR.lproj.
        std::string other = language;
        std::replace(other.begin(), other.end(), '_', '-');
        if (other == language) std::replace(other.begin(), other.end(), '-', '_');
        if (other != language) addIfPresent(other);
    }
    addIfPresent("Base");
    addIfPresent("en");
}

std::shared_ptr<const Bundle> Bundle::mainBundle() {
    std::string path = mainNamed().chosen();
    return mainNamed().get(path.empty() ? besideExecutable() : path);
}

std::shared_ptr<const Bundle> Bundle::frameworkBundle() {
    const char* environment = std::getenv("ZV_RESOURCES_DIR");
    std::string path = environment && *environment ? environment : frameworkNamed().chosen();
    return frameworkNamed().get(path.empty() ? defaultFrameworkPath() : path);
}

void Bundle::setMainBundlePath(std::string path) { mainNamed().choose(std::move(path)); }

void Bundle::setFrameworkBundlePath(std::string path) { frameworkNamed().choose(std::move(path)); }

std::vector<std::string> Bundle::localizations() const {
    std::vector<std::string> found;
    std::unique_ptr<GDir, decltype(&g_dir_close)> directory(g_dir_open(resourcePath_.c_str(), 0, nullptr), g_dir_close);
    if (!directory) return found;
    while (const char* name = g_dir_read_name(directory.get())) {
        std::string_view entry = name;
        if (entry.size() > 6 && entry.ends_with(".lproj") && isDirectory(joined(resourcePath_, entry)))
            found.emplace_back(entry.substr(0, entry.size() - 6));
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::shared_ptr<const StringsTable> Bundle::stringsTable(std::string_view table, std::string_view localization) const {
    std::string path = joined(joined(resourcePath_, folderOf(localization)), std::string(table) + ".strings");
    {
        std::lock_guard lock(mutex_);
        if (auto cached = tables_.find(path); cached != tables_.end()) return cached->second;
    }
    auto parsed = std::make_shared<StringsTable>();
    char* contents = nullptr;
    gsize length = 0;
    if (g_file_get_contents(path.c_str(), &contents, &length, nullptr)) {
        std::string error;
        *parsed = parseStringsTable(std::string_view(contents, length), &error);
        g_free(contents);
        if (!error.empty()) log(LogLevel::Warning, "Malformed strings table " + path + ": " + error);
    }
    std::lock_guard lock(mutex_);
    // Another thread may have read it meanwhile; either copy will do.
    return tables_.emplace(path, std::move(parsed)).first->second;
}

std::string Bundle::localizedString(std::string_view key, std::string_view defaultValue, std::string_view table) const {
    if (table.empty()) table = kDefaultTable;
    auto lookUp = [&](std::string_view localization) -> std::optional<std::string> {
        auto strings = stringsTable(table, localization);
        auto it = strings->find(key);
        return it == strings->end() ? std::nullopt : std::optional<std::string>(it->second);
    };
    for (const std::string& localization : searchOrder_)
        if (auto value = lookUp(localization)) return *value;
    if (auto value = lookUp("")) return *value;
    return std::string(defaultValue.empty() ? key : defaultValue);
}

std::optional<std::string> Bundle::pathForResource(std::string_view name, std::string_view extension) const {
    if (name.empty()) return std::nullopt;
    std::string file(name);
    if (!extension.empty()) file += "." + std::string(extension);
    if (std::string path = joined(resourcePath_, file); isFile(path)) return path;
    for (const std::string& localization : searchOrder_)
        if (std::string path = joined(joined(resourcePath_, folderOf(localization)), file); isFile(path)) return path;
    return std::nullopt;
}

std::optional<URL> Bundle::urlForResource(std::string_view name, std::string_view extension) const {
    auto path = pathForResource(name, extension);
    return path ? URL::fromFilePath(*path) : std::nullopt;
}

}  // namespace zv
