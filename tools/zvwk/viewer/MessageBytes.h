// What every reader of stored mail in zvwk does before GMime parses a message:
// GMime started once per process, and the blank lines some stores put before
// the headers skipped.
#pragma once

#include <string_view>

namespace zvwk::viewer {

// Call before the first GMime call on any thread: a GMime stream made before
// g_mime_init registers GMime's types half-way, and the init on another
// thread then fails. One flag for the whole program, viewer and commands.
void initialiseGMime();

// The message without the lines of spaces, tabs and CRs before its headers,
// which would make GMime see no headers at all.
std::string_view withoutLeadingBlankLines(std::string_view bytes);

}  // namespace zvwk::viewer
