// What a port is called.
#pragma once

#include <string>
#include <vector>

namespace machine {

// What the system calls a port: the client's name and the port's, or only that if it begins with
// the client's. The number of a process, which some programs put in, is left out, since the next
// run has another.
std::string WholeName(std::string client, std::string port, int process);

// The name as applications see it: 31 bytes, no character cut in two, and none of those taken. The
// second of the same is called "#2 ...". Lists find a name by how it begins, so of two names with a
// number neither is the beginning of the other.
std::string UniqueName(const std::string& whole, const std::vector<std::string>& taken);

} // namespace machine
