// Text and comment nodes: nodes that carry a string and no children.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

namespace zv::html {

class ZV_EXPORT HTMLCharacterData : public HTMLNode {
public:
    const std::string& data() const noexcept { return data_; }
    void setData(std::string data) { data_ = std::move(data); }
    void appendData(std::string_view more) { data_.append(more); }

    static bool isKind(const HTMLNode& n) noexcept {
        return n.nodeType() == HTMLNodeType::Text || n.nodeType() == HTMLNodeType::Comment;
    }

protected:
    HTMLCharacterData(HTMLNodeType type, std::string data) : HTMLNode(type), data_(std::move(data)) {}

private:
    std::string data_;
};

class ZV_EXPORT HTMLText final : public HTMLCharacterData {
public:
    explicit HTMLText(std::string data = {}) : HTMLCharacterData(HTMLNodeType::Text, std::move(data)) {}
    static Ref<HTMLText> create(std::string data = {}) { return make<HTMLText>(std::move(data)); }
    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::Text; }

protected:
    Ref<HTMLNode> cloneShallow() const override { return create(data()); }
};

class ZV_EXPORT HTMLComment final : public HTMLCharacterData {
public:
    explicit HTMLComment(std::string data = {}) : HTMLCharacterData(HTMLNodeType::Comment, std::move(data)) {}
    static Ref<HTMLComment> create(std::string data = {}) { return make<HTMLComment>(std::move(data)); }
    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::Comment; }

protected:
    Ref<HTMLNode> cloneShallow() const override { return create(data()); }
};

}  // namespace zv::html
