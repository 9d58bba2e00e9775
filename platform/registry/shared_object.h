// The back ends that reach the computer's devices are shared objects of their own beside this one,
// so that only whoever uses such devices needs the libraries that lead to them.
#pragma once

#include <string>

namespace machine {

// Loads a back end for good and gives the function of that name. Null, and the system's reason, if
// the object, or a library that it needs, is not there.
void* BackEndFunction(const char* backEnd, const char* function, std::string& reason);

} // namespace machine
