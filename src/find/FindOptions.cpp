#include <zv/find/FindOptions.h>

#include <zv/foundation/UserDefaults.h>

namespace zv {

const char ZVSearchStyleKey[] = "SearchStyle";
const char ZVSearchStyleNoRegKey[] = "SearchStyleNoReg";
const char ZVSearchIgnoreCaseKey[] = "SearchIgnoreCase";
const char ZVFindStringKey[] = "ZVFindString";

int64_t storedSearchStyle(std::string_view styleKey) {
    auto& defaults = UserDefaults::standard();
    return defaults.objectForKey(styleKey) ? defaults.integerForKey(styleKey) : SearchContains;
}

bool storedIgnoreCase() {
    auto& defaults = UserDefaults::standard();
    return !defaults.objectForKey(ZVSearchIgnoreCaseKey) || defaults.boolForKey(ZVSearchIgnoreCaseKey);
}

int64_t storedSearchOptions(std::string_view styleKey) {
    return storedSearchStyle(styleKey) + (storedIgnoreCase() ? int64_t(SearchIgnoreCase) : int64_t(0));
}

std::string findString() { return UserDefaults::standard().stringForKey(ZVFindStringKey).value_or(""); }

void setFindString(std::string_view text) { UserDefaults::standard().setString(ZVFindStringKey, text); }

}  // namespace zv
