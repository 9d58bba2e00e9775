// Where the ends of cables between processes lie: sockets in a folder that only the user can enter.
#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

namespace machine {

struct SocketAddress {
    sockaddr_un Address;
    socklen_t Length;
    const char* Path() const { return Address.sun_path; }
};

// The folder, made if it is not there yet. Empty if it cannot be had or belongs to someone else.
std::string BridgeFolder();

// The address of one input's socket on a cable; none if its path would be too long.
std::optional<SocketAddress> BridgeAddress(const std::string& folder, const std::string& cable,
                                           unsigned number);

// The sockets of all inputs, of this process and others, that hang on a cable now.
std::vector<SocketAddress> BridgePeers(const std::string& folder, const std::string& cable);

} // namespace machine
