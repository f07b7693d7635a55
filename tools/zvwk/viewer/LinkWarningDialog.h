// The question the viewer asks before it opens a link the reading library
// judged deceptive (zv::linkWarning): what the message shows, where the link
// really goes and why it looks wrong, with "Cancel" as the default answer.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace zvwk::viewer {

// Shows the question over `parent`; `open` runs only if the reader chooses
// to open the link anyway. Returns the dialog (owned by GTK until answered).
GtkWidget* askBeforeOpeningLink(GtkWindow* parent, const std::string& shownText, const std::string& href,
                                const std::string& reason, std::function<void()> open);

// The question while it is on screen, else null.
GtkWindow* shownLinkQuestion();

}  // namespace zvwk::viewer
