// The messages that the viewer's operands name, in the order a reader
// lists them: newest first where the store tells (Maildir file names start
// with the delivery time), file order otherwise.
//
// - a file starting with "From " is an mbox: one message per "From " line
//   that starts the file or follows an empty line;
// - any other file is one message (.eml or not);
// - a folder with cur/ or new/ is a Maildir: the files of both;
// - any other folder is walked for Maildirs, mbox files and .eml files;
//   hidden files and folders are left out.
#pragma once

#include "MailMessage.h"

#include <string>
#include <vector>

namespace zvwk::viewer {

struct MailboxListing {
    std::vector<MessageLocation> messages;
    std::vector<std::string> errors;  // "PATH: reason" for operands that could not be read
};

MailboxListing listMailbox(const std::vector<std::string>& operands);

// The messages of one mbox file, in file order.
std::vector<MessageLocation> mboxMessages(const std::string& path, std::string& error);

}  // namespace zvwk::viewer
