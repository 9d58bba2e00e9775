// Reading and replacing a private-profile file on disk.
#pragma once

#include <string>

namespace machine {

// The whole file; nothing for one that is missing or cannot be read. A file of the same name in
// small letters stands in for a missing one, here and below.
std::string ReadProfileFile(const std::string& path);

// Writes beside the file and puts the result in its place in one step, so that neither a full disk
// nor a reader at the same moment finds half a file. Keeps the file's permissions. False, with the
// file as it was, if it or its folder is read-only or anything else goes wrong.
bool ReplaceProfileFile(const std::string& path, const std::string& bytes);

} // namespace machine
