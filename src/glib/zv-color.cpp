#include "zv-private.h"

#include <zv/text/HTMLColorNames.h>

#include <cmath>

/**
 * zv_color_for_name:
 * @name: (nullable): a colour keyword such as "teal"; matched after
 *   lower-casing, nothing else ("#008080" and " teal" are no keyword)
 * @red: (out) (optional): the red component, from 0 to 255
 * @green: (out) (optional): the green component, from 0 to 255
 * @blue: (out) (optional): the blue component, from 0 to 255
 *
 * The colour of an HTML colour keyword. The table holds the CSS Level 3
 * keywords without the "grey" spellings and "darkgoldenrod".
 *
 * Returns: %TRUE when @name is a keyword; the components are then set,
 *   else left alone
 */
gboolean zv_color_for_name(const char* name, guint8* red, guint8* green, guint8* blue)
{
    auto color = zv::colorWithHTMLName(zv::glib::Utf8Input(name).view());
    if (!color)
        return FALSE;
    auto byte = [](double component) { return guint8(std::lround(component * 255)); };
    if (red)
        *red = byte(color->r);
    if (green)
        *green = byte(color->g);
    if (blue)
        *blue = byte(color->b);
    return TRUE;
}
