#include "zv-private.h"

namespace zv::glib {

Utf8Input::Utf8Input(const char* text)
{
    if (!text)
        return;
    if (g_utf8_validate(text, -1, nullptr)) {
        view_ = text;
        return;
    }
    g_autofree char* valid = g_utf8_make_valid(text, -1);
    repaired_ = valid;
    view_ = repaired_;
}

char* newText(std::string_view text)
{
    if (g_utf8_validate(text.data(), text.size(), nullptr))
        return g_strndup(text.data(), text.size());
    return g_utf8_make_valid(text.data(), text.size());
}

std::vector<std::string> stringList(const char* const* strv)
{
    std::vector<std::string> list;
    for (; strv && *strv; ++strv)
        list.push_back(Utf8Input(*strv).string());
    return list;
}

std::string scriptLiteralText(std::string_view text, std::string_view special)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        if (special.find(c) == special.npos) {
            escaped += c;
            continue;
        }
        escaped += '\\';
        escaped += c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
    return escaped;
}

char** newStrv(const std::vector<std::string>& strings)
{
    char** strv = g_new0(char*, strings.size() + 1);
    for (size_t i = 0; i < strings.size(); ++i)
        strv[i] = newText(strings[i]);
    return strv;
}

GVariant* variantFromValue(const Value& value)
{
    switch (value.type()) {
    case Value::value_t::object: {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
        for (const auto& [key, member] : value.items()) {
            g_autofree char* name = newText(key);
            g_variant_builder_add(&builder, "{sv}", name, variantFromValue(member));
        }
        return g_variant_builder_end(&builder);
    }
    case Value::value_t::array: {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
        for (const auto& member : value)
            g_variant_builder_add(&builder, "v", variantFromValue(member));
        return g_variant_builder_end(&builder);
    }
    case Value::value_t::string: {
        g_autofree char* text = newText(value.get_ref<const std::string&>());
        return g_variant_new_string(text);
    }
    case Value::value_t::boolean:
        return g_variant_new_boolean(value.get<bool>());
    case Value::value_t::number_integer:
        return g_variant_new_int64(value.get<int64_t>());
    case Value::value_t::number_unsigned:
        return g_variant_new_uint64(value.get<uint64_t>());
    case Value::value_t::number_float:
        return g_variant_new_double(value.get<double>());
    default:
        return g_variant_new_maybe(G_VARIANT_TYPE_VARIANT, nullptr);
    }
}

Value valueFromVariant(GVariant* variant)
{
    if (!variant)
        return nullptr;
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_VARIANT)) {
        g_autoptr(GVariant) inner = g_variant_get_variant(variant);
        return valueFromVariant(inner);
    }
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_BOOLEAN))
        return bool(g_variant_get_boolean(variant));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_STRING))
        return std::string(g_variant_get_string(variant, nullptr));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_DOUBLE))
        return g_variant_get_double(variant);
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_INT64))
        return int64_t(g_variant_get_int64(variant));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_INT32))
        return int64_t(g_variant_get_int32(variant));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_UINT64))
        return uint64_t(g_variant_get_uint64(variant));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_UINT32))
        return uint64_t(g_variant_get_uint32(variant));
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_DICTIONARY)) {
        Value object = Value::object();
        GVariantIter iter;
        g_variant_iter_init(&iter, variant);
        while (GVariant* entry = g_variant_iter_next_value(&iter)) {
            g_autoptr(GVariant) key = g_variant_get_child_value(entry, 0);
            g_autoptr(GVariant) member = g_variant_get_child_value(entry, 1);
            if (g_variant_is_of_type(key, G_VARIANT_TYPE_STRING))
                object[g_variant_get_string(key, nullptr)] = valueFromVariant(member);
            g_variant_unref(entry);
        }
        return object;
    }
    if (g_variant_is_container(variant)) {
        Value array = Value::array();
        GVariantIter iter;
        g_variant_iter_init(&iter, variant);
        while (GVariant* member = g_variant_iter_next_value(&iter)) {
            array.push_back(valueFromVariant(member));
            g_variant_unref(member);
        }
        return array;
    }
    return nullptr;
}

void setError(GError** error, const Error& failure)
{
    g_set_error(error, ZV_ERROR, ZV_ERROR_LOAD_FAILED, "%s (%s %lld)", failure.message.c_str(),
                failure.domain.c_str(), static_cast<long long>(failure.code));
}

}  // namespace zv::glib
