// What the compiler's runtime does when it cannot go on: end the process at once, as an exception
// that leaves the library would. Its own way is to print on the host's standard error, for which it
// brings string and name handling as large as the library itself.
#include <cstdlib>
#include <exception>

namespace __gnu_cxx {
void __verbose_terminate_handler() { std::abort(); }
} // namespace __gnu_cxx

namespace std {
void __throw_length_error(const char*) { abort(); }
} // namespace std
