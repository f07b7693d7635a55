#include <zv/localization/PageLocalization.h>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <utility>
#include <vector>

namespace zv {

namespace {

// Compiled once for the process; matchers are made per call, so sharing the
// pattern between threads is safe.
const icu::RegexPattern* variablePattern() {
    static const icu::RegexPattern* pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError;
        return icu::RegexPattern::compile(icu::UnicodeString(u"\\$\\{([a-zA-Z_][a-zA-Z0-9_]*)\\}"), parseError,
                                          status);
    }();
    return pattern;
}

std::string toUTF8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace

std::optional<URL> PageLocalization::url() const {
    std::lock_guard lock(lock_);
    return url_;
}

void PageLocalization::setURL(std::optional<URL> url) {
    std::lock_guard lock(lock_);
    url_ = std::move(url);
}

std::shared_ptr<const Bundle> PageLocalization::localizationBundle() const {
    std::lock_guard lock(lock_);
    return localizationBundle_;
}

void PageLocalization::setLocalizationBundle(std::shared_ptr<const Bundle> bundle) {
    std::lock_guard lock(lock_);
    localizationBundle_ = std::move(bundle);
}

std::optional<std::string> PageLocalization::localizationTable() const {
    std::lock_guard lock(lock_);
    if (localizationTable_) return localizationTable_;
    if (!url_) return std::nullopt;
    return url_->lastPathComponent();
}

void PageLocalization::setLocalizationTable(std::optional<std::string> name) {
    std::lock_guard lock(lock_);
    localizationTable_ = std::move(name);
}

void PageLocalization::setLocalizedString(const std::string& string, const std::string& key) {
    std::lock_guard lock(lock_);
    auto copy = std::make_shared<StringMap>(*localizationOverrides_);
    (*copy)[key] = string;
    localizationOverrides_ = std::move(copy);
}

std::string PageLocalization::localizedStringForKey(std::string_view key, std::string_view defaultValue) const {
    std::shared_ptr<const Bundle> bundle;
    {
        std::lock_guard lock(lock_);
        auto found = localizationOverrides_->find(key);
        if (found != localizationOverrides_->end()) return found->second;
        bundle = localizationBundle_;
    }
    if (!bundle) bundle = defaultBundle();
    std::string table = localizationTable().value_or(std::string());
    return bundle->localizedString(key, defaultValue, table);
}

void PageLocalization::setValueForVariable(const std::string& value, const std::string& name, const std::string& key) {
    std::lock_guard lock(lock_);
    auto outer = std::make_shared<VariableTables>(*variableExpansions_);
    (*outer)[key][name] = value;
    variableExpansions_ = std::move(outer);
}

std::string PageLocalization::expandVariables(std::string_view text, const std::string& key) const {
    if (text.empty()) return std::string(text);
    StringMap variables;
    {
        std::lock_guard lock(lock_);
        auto global = variableExpansions_->find("*");
        if (global != variableExpansions_->end()) variables = global->second;
        auto specific = variableExpansions_->find(key);
        if (specific != variableExpansions_->end())
            for (const auto& [name, value] : specific->second) variables[name] = value;
    }
    VariableResolver resolver = variableResolver();

    icu::UnicodeString result = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(variablePattern()->matcher(result, status));
    if (U_FAILURE(status)) return std::string(text);
    struct Match {
        int32_t start, end;
        std::string name;
    };
    std::vector<Match> matches;
    while (matcher->find(status) && U_SUCCESS(status)) {
        if (matcher->groupCount() != 1) continue;
        matches.push_back({matcher->start(status), matcher->end(status), toUTF8(matcher->group(1, status))});
    }
    matcher.reset();
    // Last first, so that a replacement never moves a range still to come.
    for (auto it = matches.rbegin(); it != matches.rend(); ++it) {
        std::optional<std::string> value;
        if (auto found = variables.find(it->name); found != variables.end())
            value = found->second;
        else if (resolver)
            value = resolver(it->name, key);
        result.replace(it->start, it->end - it->start, icu::UnicodeString::fromUTF8(value.value_or("")));
    }
    return toUTF8(result);
}

std::string PageLocalization::localizedHTMLForKey(const std::string& key, std::string_view defaultValue) const {
    return expandVariables(localizedStringForKey(key + ".html", defaultValue), key);
}

std::string PageLocalization::localizedTextForKey(const std::string& key, std::string_view defaultValue) const {
    std::string text = localizedStringForKey(key + ".text", defaultValue);
    if (text == kNotLocalizedMarker) text = localizedStringForKey(key, defaultValue);
    return expandVariables(text, key);
}

std::string PageLocalization::localizedHRefForKey(const std::string& key, std::string_view defaultValue) const {
    return localizedStringForKey(key + ".href", defaultValue);
}

std::string PageLocalization::localizedStyleForKey(const std::string& key, std::string_view defaultValue) const {
    return localizedStringForKey(key + ".style", defaultValue);
}

std::string PageLocalization::localizedSrcForKey(const std::string& key, std::string_view defaultValue) const {
    return localizedStringForKey(key + ".src", defaultValue);
}

Size PageLocalization::pageSize() const {
    std::lock_guard lock(lock_);
    return pageSize_;
}

void PageLocalization::setPageSize(Size size) {
    std::lock_guard lock(lock_);
    pageSize_ = size;
}

}  // namespace zv
