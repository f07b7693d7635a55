// A part of the displayed message that pages refer to by URL (a "cid" image):
// its bytes, the URL it is known by, its MIME type and, for text, the name of
// its encoding.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/URLResponse.h>

#include <string>

namespace zv {

struct ZV_EXPORT ZVMimeResource {
    Data data;
    std::string URL;
    std::string MIMEType;
    std::string textEncodingName;
};

}  // namespace zv
