// Printing a message as its reader sees it, with a header block above the
// body (subject, sender, recipients, date) that the card shows in its own
// widgets and the page therefore lacks. The block is put into the page for
// the print only: it is drawn for print media alone, so the view on screen
// never changes, and it is taken out when the print has finished.
#pragma once

#include "MailMessage.h"

#include <webkit/webkit.h>

#include <functional>
#include <string>

namespace zvwk::viewer {

// The header block's markup, its texts escaped.
std::string printHeaderMarkup(const MessageSummary& summary);

// Prints `view`'s message: through the print dialog over the view's window,
// or, given `settings`, straight to their printer. `finished` runs once it
// is over, printed or not.
void printMessage(WebKitWebView* view, const MessageSummary& summary, GtkPrintSettings* settings = nullptr,
                  std::function<void()> finished = {});

}  // namespace zvwk::viewer
