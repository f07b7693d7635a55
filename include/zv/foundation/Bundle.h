// Bundles: directories of resources, some of them per language.
//
// A bundle is a directory holding resources at its top and in language
// folders `<lang>.lproj/` (`de.lproj/`, `pt_BR.lproj/`, `Base.lproj/`).
// Strings tables are `<lang>.lproj/<Table>.strings` (see StringsTable.h).
//
// Languages come from the user's locale as GLib reports it
// (g_get_language_names(): LANGUAGE, LC_ALL, LC_MESSAGES, LANG): each name
// loses its encoding and modifier ("de_DE.UTF-8@euro" is de_DE), and "C" and
// "POSIX" mean English ("en"). A language with a region also tries its bare
// language after it, so the order for de_DE is de_DE, de, then the bundle's
// fallbacks "Base" and "en".
//
// Two bundles are known by name:
// - mainBundle(): the host application's resources. The host sets the
//   directory with setMainBundlePath(); until it does, it is the
//   `resources` folder beside the running executable.
// - frameworkBundle(): this framework's resources (pages, scripts, strings of
//   its own windows). The environment variable ZV_RESOURCES_DIR wins when
//   set, so an installed program can be pointed elsewhere; otherwise the
//   directory given to setFrameworkBundlePath(); otherwise the installed
//   resources, `share/zvwebkit` of the prefix the library is installed in,
//   found relative to the library's own file so the installation may move;
//   otherwise, for programs run from the build tree, the resources the build
//   assembled; otherwise the `resources` folder beside the running executable.
//
// A Bundle is immutable apart from its cache of tables, which is guarded:
// it may be used from any thread.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/StringsTable.h>
#include <zv/foundation/URL.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// The user's languages in order of preference, as described above (always
// ending in "en" when the locale does not name it earlier).
ZV_EXPORT std::vector<std::string> preferredLanguages();

class ZV_EXPORT Bundle {
public:
    // A bundle at `resourcePath` with the languages to prefer, most wanted
    // first (default: the user's).
    explicit Bundle(std::string resourcePath, std::vector<std::string> languages = preferredLanguages());
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    static std::shared_ptr<const Bundle> mainBundle();
    static std::shared_ptr<const Bundle> frameworkBundle();
    // Replace the named bundles; objects already handed out keep their path.
    static void setMainBundlePath(std::string path);
    static void setFrameworkBundlePath(std::string path);

    const std::string& resourcePath() const { return resourcePath_; }
    // The language folder names present, sorted ("Base", "de", "en").
    std::vector<std::string> localizations() const;
    // The present language folders in the order they are searched: the
    // preferred languages that the bundle has, then "Base", then "en".
    const std::vector<std::string>& preferredLocalizations() const { return searchOrder_; }

    // The text for `key` in `table` ("Localizable" when empty): from the first
    // folder in preferredLocalizations() whose table has the key, else from
    // the table at the bundle's top. A key that no table has gives
    // `defaultValue` when that is non-empty, else the key. A malformed table
    // keeps the entries before the fault and logs a warning naming it.
    std::string localizedString(std::string_view key, std::string_view defaultValue = {},
                                std::string_view table = {}) const;
    // The whole table of one language folder ("" for the bundle's top);
    // empty when the file is missing or unreadable. Read once, then cached.
    std::shared_ptr<const StringsTable> stringsTable(std::string_view table, std::string_view localization) const;

    // The path of `name`.`extension` ("name" alone when the extension is
    // empty), `name` possibly holding sub-folders ("js/mark.min"): first at
    // the bundle's top, then in each folder of preferredLocalizations().
    std::optional<std::string> pathForResource(std::string_view name, std::string_view extension) const;
    std::optional<URL> urlForResource(std::string_view name, std::string_view extension) const;

private:
    std::string resourcePath_;
    std::vector<std::string> searchOrder_;
    mutable std::mutex mutex_;
    mutable std::map<std::string, std::shared_ptr<const StringsTable>, std::less<>> tables_;
};

}  // namespace zv
