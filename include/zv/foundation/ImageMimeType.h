// The MIME type of an image, judged from its first bytes rather than its
// name: "image/png", "image/jpeg", "image/gif", "image/webp", "image/bmp",
// "image/tiff", "image/x-icon", "image/svg+xml" (text that opens with an
// <svg> element, after an optional XML declaration, comments and doctype),
// and for ISO media files by their brands "image/avif", "image/heic" or
// "image/heif". Anything else, and too few bytes to tell, gives "".
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>

namespace zv {

ZV_EXPORT std::string imageMimeType(std::string_view bytes);

}  // namespace zv
