#include "IncludeMerging.h"

#include "ASCIIText.h"
#include "HTMLFetch.h"

#include <zv/foundation/OperationQueue.h>
#include <zv/html/HTMLElement.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zv {

namespace {

using html::HTMLElement;

constexpr int kMaxConcurrentIncludes = 3;

void replaceIgnoringCase(std::string& text, const std::string& what, const std::string& with) {
    std::string lowerWhat = toASCIILower(what);
    std::string lowerText = toASCIILower(text);
    std::string out;
    size_t from = 0;
    for (size_t at = lowerText.find(lowerWhat); at != std::string::npos; at = lowerText.find(lowerWhat, from)) {
        out.append(text, from, at - from);
        out += with;
        from = at + what.size();
    }
    out.append(text, from);
    text = std::move(out);
}

std::optional<URL> includeURL(const std::string& source, const URL& pageURL) {
    std::optional<URL> url = URL::parse(source);
    if (url && (url->isFileURL() || url->host())) return url;
    return pageURL.deletingLastPathComponent().appendingPathComponent(source);
}

// Fetched text with the include's attributes put in.
std::string substituted(std::string text, const std::vector<html::HTMLAttribute>& attributes) {
    for (const auto& attribute : attributes)
        if (attribute.name != "src") replaceIgnoringCase(text, "${" + attribute.name + "}", attribute.value);
    return text;
}

struct Merge {
    std::mutex documentLock;  // every change to the page's tree goes under it
};

void merge(Merge& state, HTMLElement& include, const std::optional<std::string>& text,
           const std::vector<html::HTMLAttribute>& attributes) {
    html::Ref<html::HTMLDocument> included;
    if (text) included = html::HTMLDocument::documentWithString(substituted(*text, attributes));
    std::lock_guard lock(state.documentLock);
    html::HTMLNode* parent = include.parentNode();
    if (!parent) return;
    if (included && included->body()) {
        for (html::HTMLNode* child : included->body()->childNodes())
            if (child->isElement()) parent->insertNode(child->cloneNodeDeep(true), &include);
    }
    include.removeFromParentNode();
}

}  // namespace

void mergeIncludes(html::HTMLDocument& document, const URL& pageURL, std::function<void()> done) {
    std::vector<HTMLElement*> includes = document.querySelectorAll("include");
    auto state = std::make_shared<Merge>();
    OperationQueue::withSetup(
        [&](OperationQueue& queue) {
            queue.setMaxConcurrentOperationCount(kMaxConcurrentIncludes);
            for (HTMLElement* include : includes) {
                // Read on this thread, before any merge can change the tree.
                const html::HTMLAttributeList& own = include->attributes();
                std::vector<html::HTMLAttribute> attributes(own.begin(), own.end());
                const std::string* source = include->attribute("src");
                std::optional<URL> url = includeURL(source ? *source : std::string(), pageURL);
                queue.addSignallingOperation([state, include, attributes, url](Operation operation) {
                    if (!url) {
                        merge(*state, *include, std::nullopt, attributes);
                        operation.signal();
                        return;
                    }
                    fetchHTML(*url, [state, include, attributes, operation](std::optional<std::string> text) {
                        merge(*state, *include, text, attributes);
                        operation.signal();
                    });
                });
            }
        },
        [state, done = std::move(done)] { done(); });
}

}  // namespace zv
