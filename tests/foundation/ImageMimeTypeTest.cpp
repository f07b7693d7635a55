#include <zv/foundation/ImageMimeType.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace {

std::string bytes(std::initializer_list<unsigned> values) {
    std::string out;
    for (unsigned v : values) out += char(v);
    return out;
}

// The first bytes of files written by common encoders, and of what is no image.
TEST(ImageMimeType, RecognisesRealFileHeadersAndNothingElse) {
    struct Case {
        std::string header;
        const char* type;
    } cases[] = {
        {bytes({0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52}),
         "image/png"},
        {bytes({0xff, 0xd8, 0xff, 0xdb, 0x00, 0x43, 0x00, 0x01}), "image/jpeg"},
        {bytes({0xff, 0xd8, 0xff, 0xe0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00}), "image/jpeg"},
        {bytes({0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 0x80, 0x02, 0xa5, 0x01}), "image/gif"},
        {"GIF87a", "image/gif"},
        {bytes({0x52, 0x49, 0x46, 0x46, 0xa8, 0x01, 0x00, 0x00, 0x57, 0x45, 0x42, 0x50, 0x56, 0x50, 0x38, 0x58}),
         "image/webp"},
        {bytes({0x42, 0x4d, 0x8a, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x8a, 0x00, 0x00, 0x00, 0x7c, 0x00}),
         "image/bmp"},
        {bytes({0x49, 0x49, 0x2a, 0x00, 0x08, 0x04, 0x00, 0x00}), "image/tiff"},
        {bytes({0x4d, 0x4d, 0x00, 0x2a, 0x00, 0x00, 0x00, 0x08}), "image/tiff"},
        {bytes({0x00, 0x00, 0x01, 0x00, 0x04, 0x00, 0x10, 0x10, 0x00, 0x00, 0x01, 0x00, 0x20, 0x00}), "image/x-icon"},
        // ISO media: AVIF as libavif writes it, HEIC as phones write it.
        {bytes({0x00, 0x00, 0x00, 0x1c, 'f', 't', 'y', 'p', 'a', 'v', 'i', 'f', 0, 0, 0, 0, 'a', 'v', 'i', 'f', 'm',
                'i', 'f', '1', 'm', 'i', 'a', 'f'}),
         "image/avif"},
        {bytes({0x00, 0x00, 0x00, 0x18, 'f', 't', 'y', 'p', 'h', 'e', 'i', 'c', 0, 0, 0, 0, 'm', 'i', 'f', '1', 'h',
                'e', 'i', 'c'}),
         "image/heic"},
        // A generic major brand: the compatible brands decide, AVIF first.
        {bytes({0x00, 0x00, 0x00, 0x1c, 'f', 't', 'y', 'p', 'm', 'i', 'f', '1', 0, 0, 0, 0, 'm', 'i', 'f', '1', 'h',
                'e', 'i', 'c', 'a', 'v', 'i', 'f'}),
         "image/avif"},
        {bytes({0x00, 0x00, 0x00, 0x14, 'f', 't', 'y', 'p', 'm', 'i', 'f', '1', 0, 0, 0, 0, 'm', 'i', 'f', '1'}),
         "image/heif"},
        {"<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 199.7 184.2\">\n  <style>", "image/svg+xml"},
        {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created with Inkscape -->\n"
         "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" \"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\n"
         "<svg\n   width=\"16\">",
         "image/svg+xml"},
        {"<svg/>", "image/svg+xml"},
        // Cut short, no such version, or too short for a bitmap header.
        {"", ""}, {"\x89PNG", ""}, {bytes({0xff, 0xd8}), ""}, {"GIF88a", ""}, {"BM", ""},
        // Audio in the same container; an icon directory of no images; a video.
        {bytes({'R', 'I', 'F', 'F', 0x10, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' '}), ""},
        {bytes({0x00, 0x00, 0x01, 0x00, 0x00, 0x00}), ""},
        {bytes({0x00, 0x00, 0x00, 0x18, 'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0, 0, 2, 0, 'i', 's', 'o', 'm', 'm',
                'p', '4', '1'}),
         ""},
        {"<!DOCTYPE html><html><body><svg></svg></body></html>", ""}, {"<svgfoo>", ""},
        {"<?xml version=\"1.0\"?><rss version=\"2.0\"/>", ""}, {"<!-- never closed <svg>", ""},
        {"%PDF-1.7\n", ""}, {"plain text", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(zv::imageMimeType(c.header), c.type) << c.header;
}

}  // namespace
