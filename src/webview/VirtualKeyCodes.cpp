// GDK key values to the virtual key codes that delegates compare against. The
// codes name a key by its place on a US keyboard, so a key is looked up by
// its lower-case (unshifted) value.
#include <zv/webview/Event.h>

#include <gdk/gdk.h>

#include <algorithm>
#include <array>
#include <utility>

namespace zv {

namespace {

using KeyRow = std::pair<unsigned, uint16_t>;

constexpr auto kKeyCodes = std::to_array<KeyRow>({
    {GDK_KEY_a, 0x00}, {GDK_KEY_s, 0x01}, {GDK_KEY_d, 0x02}, {GDK_KEY_f, 0x03}, {GDK_KEY_h, 0x04},
    {GDK_KEY_g, 0x05}, {GDK_KEY_z, 0x06}, {GDK_KEY_x, 0x07}, {GDK_KEY_c, 0x08}, {GDK_KEY_v, 0x09},
    {GDK_KEY_b, 0x0B}, {GDK_KEY_q, 0x0C}, {GDK_KEY_w, 0x0D}, {GDK_KEY_e, 0x0E}, {GDK_KEY_r, 0x0F},
    {GDK_KEY_y, 0x10}, {GDK_KEY_t, 0x11}, {GDK_KEY_1, 0x12}, {GDK_KEY_2, 0x13}, {GDK_KEY_3, 0x14},
    {GDK_KEY_4, 0x15}, {GDK_KEY_6, 0x16}, {GDK_KEY_5, 0x17}, {GDK_KEY_equal, 0x18}, {GDK_KEY_9, 0x19},
    {GDK_KEY_7, 0x1A}, {GDK_KEY_minus, 0x1B}, {GDK_KEY_8, 0x1C}, {GDK_KEY_0, 0x1D},
    {GDK_KEY_bracketright, 0x1E}, {GDK_KEY_o, 0x1F}, {GDK_KEY_u, 0x20}, {GDK_KEY_bracketleft, 0x21},
    {GDK_KEY_i, 0x22}, {GDK_KEY_p, 0x23}, {GDK_KEY_Return, 0x24}, {GDK_KEY_l, 0x25}, {GDK_KEY_j, 0x26},
    {GDK_KEY_apostrophe, 0x27}, {GDK_KEY_k, 0x28}, {GDK_KEY_semicolon, 0x29}, {GDK_KEY_backslash, 0x2A},
    {GDK_KEY_comma, 0x2B}, {GDK_KEY_slash, 0x2C}, {GDK_KEY_n, 0x2D}, {GDK_KEY_m, 0x2E},
    {GDK_KEY_period, 0x2F}, {GDK_KEY_Tab, 0x30}, {GDK_KEY_ISO_Left_Tab, 0x30}, {GDK_KEY_space, 0x31},
    {GDK_KEY_grave, 0x32}, {GDK_KEY_BackSpace, kKeyCodeDelete}, {GDK_KEY_KP_Enter, 0x4C},
    {GDK_KEY_Escape, 0x35}, {GDK_KEY_Super_R, 0x36}, {GDK_KEY_Super_L, 0x37}, {GDK_KEY_Meta_L, 0x37},
    {GDK_KEY_Shift_L, 0x38}, {GDK_KEY_Caps_Lock, 0x39}, {GDK_KEY_Alt_L, 0x3A}, {GDK_KEY_Control_L, 0x3B},
    {GDK_KEY_Shift_R, 0x3C}, {GDK_KEY_Alt_R, 0x3D}, {GDK_KEY_ISO_Level3_Shift, 0x3D},
    {GDK_KEY_Control_R, 0x3E}, {GDK_KEY_KP_Decimal, 0x41}, {GDK_KEY_KP_Multiply, 0x43},
    {GDK_KEY_KP_Add, 0x45}, {GDK_KEY_Clear, 0x47}, {GDK_KEY_KP_Divide, 0x4B}, {GDK_KEY_KP_Subtract, 0x4E},
    {GDK_KEY_KP_Equal, 0x51}, {GDK_KEY_KP_0, 0x52}, {GDK_KEY_KP_1, 0x53}, {GDK_KEY_KP_2, 0x54},
    {GDK_KEY_KP_3, 0x55}, {GDK_KEY_KP_4, 0x56}, {GDK_KEY_KP_5, 0x57}, {GDK_KEY_KP_6, 0x58},
    {GDK_KEY_KP_7, 0x59}, {GDK_KEY_KP_8, 0x5B}, {GDK_KEY_KP_9, 0x5C}, {GDK_KEY_F5, 0x60},
    {GDK_KEY_F6, 0x61}, {GDK_KEY_F7, 0x62}, {GDK_KEY_F3, 0x63}, {GDK_KEY_F8, 0x64}, {GDK_KEY_F9, 0x65},
    {GDK_KEY_F11, 0x67}, {GDK_KEY_F13, 0x69}, {GDK_KEY_F16, 0x6A}, {GDK_KEY_F14, 0x6B},
    {GDK_KEY_F10, 0x6D}, {GDK_KEY_F12, 0x6F}, {GDK_KEY_F15, 0x71}, {GDK_KEY_Help, 0x72},
    {GDK_KEY_Insert, 0x72}, {GDK_KEY_Home, 0x73}, {GDK_KEY_Page_Up, 0x74}, {GDK_KEY_Delete, 0x75},
    {GDK_KEY_F4, 0x76}, {GDK_KEY_End, 0x77}, {GDK_KEY_F2, 0x78}, {GDK_KEY_Page_Down, 0x79},
    {GDK_KEY_F1, 0x7A}, {GDK_KEY_Left, 0x7B}, {GDK_KEY_Right, 0x7C}, {GDK_KEY_Down, 0x7D},
    {GDK_KEY_Up, 0x7E}, {GDK_KEY_KP_Home, 0x73}, {GDK_KEY_KP_Page_Up, 0x74}, {GDK_KEY_KP_Delete, 0x75},
    {GDK_KEY_KP_End, 0x77}, {GDK_KEY_KP_Page_Down, 0x79}, {GDK_KEY_KP_Left, 0x7B},
    {GDK_KEY_KP_Right, 0x7C}, {GDK_KEY_KP_Down, 0x7D}, {GDK_KEY_KP_Up, 0x7E},
});

}  // namespace

uint16_t virtualKeyCodeForKeyval(unsigned keyval) {
    unsigned key = gdk_keyval_to_lower(keyval);
    auto found = std::find_if(kKeyCodes.begin(), kKeyCodes.end(), [key](const KeyRow& row) { return row.first == key; });
    return found == kKeyCodes.end() ? kKeyCodeUnknown : found->second;
}

}  // namespace zv
