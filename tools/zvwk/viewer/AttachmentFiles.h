// An attachment handed to the desktop: opened with the application the
// desktop chose for its type, or saved where the reader says.
//
// The name a message gives its attachment is a stranger's text: only its
// last path segment is used, without leading dots or control characters, so
// it can neither leave the folder it is written to nor hide in it. A copy to
// open goes into a folder of its own under the user's cache folder, readable
// by the user only, so two attachments of the same name never meet.
#pragma once

#include "MailMessage.h"

#include <gtk/gtk.h>

#include <optional>
#include <string>

namespace zvwk::viewer {

// The attachment's file name made safe to write ("attachment" when nothing is left).
std::string safeAttachmentName(const std::string& filename);

// Writes the attachment's bytes to `path`, replacing what is there; false with `error` set when it cannot.
bool writeAttachment(const Attachment& attachment, const std::string& path, std::string& error);

// A fresh copy to open, under `cacheFolder`; nothing with `error` set when it cannot be written.
std::optional<std::string> copyAttachmentToOpen(const Attachment& attachment, const std::string& cacheFolder,
                                                std::string& error);

// Opens a copy with the desktop's application for its type; a failure is
// told in a dialog over `parent`.
void openAttachment(const Attachment& attachment, GtkWindow* parent);
// Asks where to save it (the desktop's file chooser, the portal's when
// there is one), then writes it there.
void saveAttachment(const Attachment& attachment, GtkWindow* parent);

}  // namespace zvwk::viewer
