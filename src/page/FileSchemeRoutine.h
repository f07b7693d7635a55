// The page window's "zvfile" scheme: a page's images and style sheets, read
// from the file the URL names under the "file" scheme. Images (bmp, tiff,
// jpg, jpeg, gif, png, the extension compared without case) are answered
// with the type their bytes show; a "css" file (lower-case extension only)
// when its bytes are ASCII or UTF-8. Everything else is left unanswered:
// the request stays open until the page goes, as a page's stray reference
// does not deserve an error page.
#pragma once

#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

namespace zv {

ZVWebViewURLSchemeHandler::Routine fileSchemeRoutine();

}  // namespace zv
