// What a port is called.
#pragma once

#include <string>
#include <vector>

namespace machine {

// What the system calls a port: the client's name and the port's, or only that if it begins with
// the client's. The number of a process, which some programs put in, is left out, since the next
// run has another.
std::string WholeName(std::string client, std::string port, int process);

// The name as applications see it: 31 bytes, no character cut in two, and none of those taken; the
// second of the same is called "... #2".
std::string UniqueName(const std::string& whole, const std::vector<std::string>& taken);

} // namespace machine
