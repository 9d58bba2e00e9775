// ALSA's header, which forgets to say that some of its functions are C's, and its silence.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <endian.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/types.h>
#include <unistd.h>

extern "C" {
#include <alsa/asoundlib.h>
}

namespace machine {

// While it lives, ALSA prints nothing on this thread. What the host hears elsewhere is its own.
class Quiet {
public:
    Quiet() : Before(snd_lib_error_set_local(Ignore)) {}
    ~Quiet() { snd_lib_error_set_local(Before); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    static void Ignore(const char*, int, const char*, int, const char*, va_list) {}
    const snd_local_error_handler_t Before;
};

// An address that one store hands over: the client's number, and the port's in the lowest byte.
using Address = int;
constexpr Address Nowhere = -1;
constexpr Address Packed(const snd_seq_addr_t& address) {
    return address.client << 8 | address.port;
}
constexpr snd_seq_addr_t Unpacked(Address address) {
    return {static_cast<unsigned char>(address >> 8), static_cast<unsigned char>(address)};
}

} // namespace machine
