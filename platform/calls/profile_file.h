// A private-profile file on disk.
#pragma once

#include "platform/calls/profile_text.h"

namespace machine {

// The file's text; an empty one for a file that is missing or cannot be read. A file of the same
// name in small letters stands in for a missing one, here and below. A file that has not changed
// since the last call is not read again. One thread at a time; valid until the next call.
const ProfileText& ReadProfile(const std::string& path);

// Writes beside the file and puts the result in its place in one step, so that neither a full disk
// nor a reader at the same moment finds half a file. Keeps the file's permissions. False, with the
// file as it was, if it or its folder is read-only or anything else goes wrong.
bool ReplaceProfile(const std::string& path, const std::string& bytes);

} // namespace machine
