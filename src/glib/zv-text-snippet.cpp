#include "zv-private.h"

#include <zv/text/TextSnippet.h>
#include <zv/text/TextSnippetStream.h>

#include <cerrno>

G_DEFINE_FLAGS_TYPE(ZvSnippetOptions, zv_snippet_options,
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_NONE, "none"),
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_KEEP_WHOLE_WORDS, "keep-whole-words"),
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_INVISIBLE_SPACES_AS_WHITESPACE, "invisible-spaces-as-whitespace"),
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_SKIP_TITLE, "skip-title"),
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_SKIP_HEAD, "skip-head"),
                    G_DEFINE_ENUM_VALUE(ZV_SNIPPET_PRESERVE_LINE_BREAKS, "preserve-line-breaks"))

static_assert(int(ZV_SNIPPET_KEEP_WHOLE_WORDS) == int(zv::ZVTextSnippetKeepWholeWords) &&
              int(ZV_SNIPPET_INVISIBLE_SPACES_AS_WHITESPACE) == int(zv::ZVTextSnippetInvisibleSpacesAsWhitespace) &&
              int(ZV_SNIPPET_SKIP_TITLE) == int(zv::ZVTextSnippetSkipTitle) && int(ZV_SNIPPET_SKIP_HEAD) == int(zv::ZVTextSnippetSkipHead) &&
              int(ZV_SNIPPET_PRESERVE_LINE_BREAKS) == int(zv::ZVTextSnippetPreserveLineBreaks));

/**
 * zv_text_snippet_for_html:
 * @html: (nullable): HTML text; %NULL reads as empty
 * @max_length: the length in UTF-16 code units, 0 or less for no limit;
 *   without %ZV_SNIPPET_KEEP_WHOLE_WORDS the snippet may be one unit longer
 * @options: how the snippet is taken
 *
 * A preview of the visible text of @html, white space collapsed, read only as
 * far as the snippet needs. Text in `script` and `style` elements, and in
 * elements whose inline style hides them, is left out. Invalid UTF-8 reads
 * as U+FFFD.
 *
 * Returns: (transfer full) (nullable): the snippet, or %NULL when the HTML
 *   has no visible text
 */
char* zv_text_snippet_for_html(const char* html, glong max_length, ZvSnippetOptions options)
{
    auto snippet = zv::textSnippetForHTML(zv::glib::Utf8Input(html).view(), max_length, options);
    return snippet ? zv::glib::newText(*snippet) : nullptr;
}

namespace {

// Reads through GIO, keeping GIO's own error for the caller.
char* snippetOfStream(GInputStream* stream, glong maxLength, ZvSnippetOptions options, GCancellable* cancellable,
                      GError** error)
{
    g_autoptr(GError) readError = nullptr;
    auto read = [&](char* buffer, size_t capacity) -> long {
        // Not every stream looks at the cancellable (memory streams do not).
        gssize count = g_cancellable_set_error_if_cancelled(cancellable, &readError)
                           ? -1
                           : g_input_stream_read(stream, buffer, capacity, cancellable, &readError);
        if (count < 0)
            errno = EIO;
        return count;
    };
    std::error_code failure;
    auto snippet = zv::textSnippetForStream(read, {}, "UTF-8", maxLength, options, &failure);
    if (readError) {
        g_propagate_error(error, g_steal_pointer(&readError));
        return nullptr;
    }
    if (failure) {
        g_set_error(error, G_IO_ERROR, g_io_error_from_errno(failure.value()), "%s", failure.message().c_str());
        return nullptr;
    }
    return snippet ? zv::glib::newText(*snippet) : nullptr;
}

struct SnippetRequest {
    glong maxLength;
    ZvSnippetOptions options;
};

}  // namespace

/**
 * zv_text_snippet_for_stream:
 * @stream: HTML bytes to read
 * @max_length: as zv_text_snippet_for_html() takes it
 * @options: how the snippet is taken
 * @cancellable: (nullable): to stop reading
 * @error: set when reading fails
 *
 * The snippet zv_text_snippet_for_html() gives for the text of @stream, read
 * and decoded a piece at a time only as far as the snippet needs. The
 * encoding is sniffed from a byte order mark or a `<meta>` charset in the
 * first 1024 bytes, else UTF-8. The stream is not closed.
 *
 * A stream that fails (closed, cancelled, unreadable) gives %NULL and GIO's
 * error, even when some text came before: half a message would pass for
 * the whole.
 *
 * Returns: (transfer full) (nullable): the snippet, or %NULL when there is no
 *   visible text (@error unset) or reading failed (@error set)
 */
char* zv_text_snippet_for_stream(GInputStream* stream, glong max_length, ZvSnippetOptions options,
                                 GCancellable* cancellable, GError** error)
{
    g_return_val_if_fail(G_IS_INPUT_STREAM(stream), nullptr);
    return snippetOfStream(stream, max_length, options, cancellable, error);
}

static void snippetInThread(GTask* task, gpointer source, gpointer data, GCancellable* cancellable)
{
    auto* request = static_cast<SnippetRequest*>(data);
    GError* error = nullptr;
    char* snippet = snippetOfStream(G_INPUT_STREAM(source), request->maxLength, request->options, cancellable, &error);
    if (error)
        g_task_return_error(task, error);
    else
        g_task_return_pointer(task, snippet, g_free);
}

/**
 * zv_text_snippet_for_stream_async:
 * @stream: HTML bytes to read
 * @max_length: as zv_text_snippet_for_html() takes it
 * @options: how the snippet is taken
 * @cancellable: (nullable): to stop reading
 * @callback: (scope async): called when the snippet is ready
 * @user_data: (closure): for @callback
 *
 * zv_text_snippet_for_stream() on a worker thread; the stream must not be
 * used elsewhere meanwhile.
 */
void zv_text_snippet_for_stream_async(GInputStream* stream, glong max_length, ZvSnippetOptions options,
                                      GCancellable* cancellable, GAsyncReadyCallback callback, gpointer user_data)
{
    g_return_if_fail(G_IS_INPUT_STREAM(stream));
    g_autoptr(GTask) task = g_task_new(stream, cancellable, callback, user_data);
    g_task_set_source_tag(task, reinterpret_cast<gpointer>(zv_text_snippet_for_stream_async));
    g_task_set_task_data(task, new SnippetRequest{max_length, options},
                         [](gpointer data) { delete static_cast<SnippetRequest*>(data); });
    g_task_run_in_thread(task, snippetInThread);
}

/**
 * zv_text_snippet_for_stream_finish:
 * @result: the result handed to the callback
 * @error: set when reading failed
 *
 * Finishes zv_text_snippet_for_stream_async().
 *
 * Returns: (transfer full) (nullable): the snippet, or %NULL as
 *   zv_text_snippet_for_stream() has it
 */
char* zv_text_snippet_for_stream_finish(GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(G_IS_TASK(result), nullptr);
    return static_cast<char*>(g_task_propagate_pointer(G_TASK(result), error));
}

/**
 * zv_text_snippet_for_file:
 * @file: an HTML file
 * @max_length: as zv_text_snippet_for_html() takes it
 * @options: how the snippet is taken
 * @cancellable: (nullable): to stop reading
 * @error: set when the file cannot be opened or read
 *
 * zv_text_snippet_for_stream() over the contents of @file.
 *
 * Returns: (transfer full) (nullable): the snippet, or %NULL when there is no
 *   visible text (@error unset) or the file could not be read (@error set)
 */
char* zv_text_snippet_for_file(GFile* file, glong max_length, ZvSnippetOptions options, GCancellable* cancellable,
                               GError** error)
{
    g_return_val_if_fail(G_IS_FILE(file), nullptr);
    g_autoptr(GFileInputStream) stream = g_file_read(file, cancellable, error);
    if (!stream)
        return nullptr;
    return snippetOfStream(G_INPUT_STREAM(stream), max_length, options, cancellable, error);
}
