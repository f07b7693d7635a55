// The strings of one page: localized lookups by key, with per-key overrides,
// kind suffixes and ${name} variables.
//
// Every page a window shows is localized on the native side before it reaches
// its web view (DocumentLocalization.h walks the document); this is the
// dictionary for that walk, and the base of ZVWebPageController. It needs no
// web view, so hosts and tests use it alone too.
//
// Lookup (localizedStringForKey): an override set with setLocalizedString
// wins as it stands; otherwise the bundle's strings table localizationTable()
// answers, with the bundle's contract: a missing key gives the default when
// that is non-empty, else the key itself. Callers tell "found" from "missing"
// by comparing the answer with the key, or with a marker passed as default
// (kNotLocalizedMarker).
//
// Kinds: key + ".html", ".text", ".href", ".style", ".src". HTML and text
// strings have their variables expanded under the bare key; link, style and
// source strings never do. A ".text" string that is exactly the marker falls
// back to the bare key.
//
// Variables: "${name}", name an ASCII letter or "_" then letters, digits or
// "_" (case-sensitive). A name is looked up in the variables set for the key,
// then in those set for "*" (every key), then asked of variableResolver();
// one nobody knows is removed. Values are not expanded again.
//
// The tables are replaced whole under the object's lock, so lookups may run on
// any thread while another sets values.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Bundle.h>
#include <zv/foundation/Geometry.h>
#include <zv/foundation/URL.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace zv {

// Passed as the default of a lookup so that "not found" can be told apart.
ZV_EXPORT inline constexpr char kNotLocalizedMarker[] = "<NOTLOCALIZED>";

class ZV_EXPORT PageLocalization {
public:
    using StringMap = std::map<std::string, std::string, std::less<>>;
    using VariableTables = std::map<std::string, StringMap, std::less<>>;
    // Answers a variable that no table holds: (name, localization key).
    using VariableResolver = std::function<std::optional<std::string>(const std::string&, const std::string&)>;

    PageLocalization() = default;
    virtual ~PageLocalization() = default;
    PageLocalization(const PageLocalization&) = delete;
    PageLocalization& operator=(const PageLocalization&) = delete;

    // The page's address; the table is named after its last path component.
    std::optional<URL> url() const;
    void setURL(std::optional<URL> url);

    // Where the strings tables live; none means defaultBundle().
    std::shared_ptr<const Bundle> localizationBundle() const;
    void setLocalizationBundle(std::shared_ptr<const Bundle> bundle);

    // The explicit table if set, else the page file's name with its
    // extension ("About.html"), else none (the bundle's default table).
    std::optional<std::string> localizationTable() const;
    void setLocalizationTable(std::optional<std::string> name);

    // Variables for the "{$name}" form inside text strings of a document
    // (DocumentLocalization.h). Empty here; pages override it.
    virtual StringMap localizationVariableTable() const { return {}; }

    void setLocalizedString(const std::string& string, const std::string& key);
    std::string localizedStringForKey(std::string_view key, std::string_view defaultValue = {}) const;

    void setValueForVariable(const std::string& value, const std::string& name, const std::string& key = "*");
    std::string expandVariables(std::string_view text, const std::string& key) const;

    std::string localizedHTMLForKey(const std::string& key, std::string_view defaultValue = {}) const;
    std::string localizedTextForKey(const std::string& key, std::string_view defaultValue = {}) const;
    std::string localizedHRefForKey(const std::string& key, std::string_view defaultValue = {}) const;
    std::string localizedStyleForKey(const std::string& key, std::string_view defaultValue = {}) const;
    std::string localizedSrcForKey(const std::string& key, std::string_view defaultValue = {}) const;

    // The intended content size of the page; 800 by 600 until set.
    Size pageSize() const;
    void setPageSize(Size size);

protected:
    // Asked for variables no table holds; the page controller forwards it to
    // its delegate.
    virtual VariableResolver variableResolver() const { return {}; }
    // The bundle looked in when no localization bundle is set: the host's
    // main bundle here; the page controller names its own.
    virtual std::shared_ptr<const Bundle> defaultBundle() const { return Bundle::mainBundle(); }

    mutable std::recursive_mutex lock_;

private:
    std::optional<URL> url_;
    std::shared_ptr<const Bundle> localizationBundle_;
    std::optional<std::string> localizationTable_;
    std::shared_ptr<const StringMap> localizationOverrides_ = std::make_shared<const StringMap>();
    std::shared_ptr<const VariableTables> variableExpansions_ = std::make_shared<const VariableTables>();
    Size pageSize_{800, 600};
};

}  // namespace zv
