// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// ALSA's header, included as C since it does not declare all of its functions so; and small helpers
// for it.
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

namespace device {

// While an object lives, ALSA prints no errors on this thread. Other threads keep the host's own
// error handler.
class SilenceErrors {
public:
    SilenceErrors() : Previous(snd_lib_error_set_local(Ignore)) {}
    ~SilenceErrors() { snd_lib_error_set_local(Previous); }
    SilenceErrors(const SilenceErrors&) = delete;
    SilenceErrors& operator=(const SilenceErrors&) = delete;

private:
    static void Ignore(const char*, int, const char*, int, const char*, va_list) {}
    const snd_local_error_handler_t Previous;
};

// The address of a port in one word, so that it can be atomic: the client's number, and the port's
// in the lowest byte.
using Address = int;
constexpr Address NoAddress = -1;
constexpr Address Packed(const snd_seq_addr_t& address) {
    return address.client << 8 | address.port;
}
constexpr snd_seq_addr_t Unpacked(Address address) {
    return {static_cast<unsigned char>(address >> 8), static_cast<unsigned char>(address)};
}

} // namespace device
