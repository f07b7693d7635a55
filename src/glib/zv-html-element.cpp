#include "zv-private.h"

#include <zv/text/PlainText.h>

/**
 * ZvHtmlElement:
 *
 * An element of a #ZvHtmlDocument. It keeps its document alive; changes
 * made through it are changes of the document.
 */
struct _ZvHtmlElement {
    GObject parent_instance;
    ZvHtmlDocument* document;
    zv::html::Ref<zv::html::HTMLElement> element;
    std::string tagName;
};

G_DEFINE_FINAL_TYPE(ZvHtmlElement, zv_html_element, G_TYPE_OBJECT)

static void zv_html_element_finalize(GObject* object)
{
    auto* self = ZV_HTML_ELEMENT(object);
    // The element goes before the document that holds its tree.
    self->element.~Ref();
    self->tagName.~basic_string();
    g_clear_object(&self->document);
    G_OBJECT_CLASS(zv_html_element_parent_class)->finalize(object);
}

static void zv_html_element_class_init(ZvHtmlElementClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = zv_html_element_finalize;
}

static void zv_html_element_init(ZvHtmlElement* self)
{
    new (&self->element) zv::html::Ref<zv::html::HTMLElement>();
    new (&self->tagName) std::string();
}

namespace zv::glib {

ZvHtmlElement* wrapElement(ZvHtmlDocument* document, html::HTMLElement* element)
{
    if (!element)
        return nullptr;
    auto* self = ZV_HTML_ELEMENT(g_object_new(ZV_TYPE_HTML_ELEMENT, nullptr));
    self->document = ZV_HTML_DOCUMENT(g_object_ref(document));
    self->element = element;
    self->tagName = element->tagName();
    return self;
}

}  // namespace zv::glib

/**
 * zv_html_element_get_tag_name:
 * @self: an element
 *
 * Returns: (transfer none): the name as parsed, lower case for HTML ("p")
 */
const char* zv_html_element_get_tag_name(ZvHtmlElement* self)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    return self->tagName.c_str();
}

/**
 * zv_html_element_get_attribute:
 * @self: an element
 * @name: the attribute's qualified name
 *
 * Returns: (transfer full) (nullable): the value, or %NULL when the element
 *   has no such attribute
 */
char* zv_html_element_get_attribute(ZvHtmlElement* self, const char* name)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    const std::string* value = self->element->attribute(zv::glib::Utf8Input(name).view());
    return value ? zv::glib::newText(*value) : nullptr;
}

/**
 * zv_html_element_set_attribute:
 * @self: an element
 * @name: the attribute's name
 * @value: its new value
 *
 * Adds the attribute at the end, or replaces its value in place.
 */
void zv_html_element_set_attribute(ZvHtmlElement* self, const char* name, const char* value)
{
    g_return_if_fail(ZV_IS_HTML_ELEMENT(self));
    g_return_if_fail(name && *name);
    self->element->setAttribute(zv::glib::Utf8Input(name).view(), zv::glib::Utf8Input(value).view());
}

/**
 * zv_html_element_get_text_content:
 * @self: an element
 *
 * Returns: (transfer full): the text of all its descendant text nodes
 */
char* zv_html_element_get_text_content(ZvHtmlElement* self)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    return zv::glib::newText(self->element->textContent());
}

/**
 * zv_html_element_get_plain_text:
 * @self: an element
 *
 * The plain text of the element, as zv_html_to_plain_text() makes it of a
 * document's root.
 *
 * Returns: (transfer full): the plain text
 */
char* zv_html_element_get_plain_text(ZvHtmlElement* self)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    return zv::glib::newText(zv::plainText(*self->element));
}

/**
 * zv_html_element_get_outer_html:
 * @self: an element
 *
 * Returns: (transfer full): the element and its children serialized
 */
char* zv_html_element_get_outer_html(ZvHtmlElement* self)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    return zv::glib::newText(self->element->outerHTML());
}

/**
 * zv_html_element_get_inner_html:
 * @self: an element
 *
 * Returns: (transfer full): the element's children serialized
 */
char* zv_html_element_get_inner_html(ZvHtmlElement* self)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    return zv::glib::newText(self->element->innerHTML());
}

/**
 * zv_html_element_set_inner_html:
 * @self: an element
 * @html: (nullable): HTML parsed as a fragment in the element's context
 *
 * Replaces the element's children with @html parsed.
 */
void zv_html_element_set_inner_html(ZvHtmlElement* self, const char* html)
{
    g_return_if_fail(ZV_IS_HTML_ELEMENT(self));
    self->element->setInnerHTML(zv::glib::Utf8Input(html).view());
}

/**
 * zv_html_element_select:
 * @self: an element
 * @selector: a CSS selector
 *
 * The descendants of the element that @selector matches, in document order.
 *
 * Returns: (transfer container) (element-type ZvHtmlElement): the elements
 */
GPtrArray* zv_html_element_select(ZvHtmlElement* self, const char* selector)
{
    g_return_val_if_fail(ZV_IS_HTML_ELEMENT(self), nullptr);
    auto elements = self->element->querySelectorAll(zv::glib::Utf8Input(selector).view());
    GPtrArray* array = g_ptr_array_new_full(elements.size(), g_object_unref);
    for (auto* element : elements)
        g_ptr_array_add(array, zv::glib::wrapElement(self->document, element));
    return array;
}
