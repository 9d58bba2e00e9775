#include "platform/virtual/bridge_folder.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace machine {
namespace {

// A cable's name as part of a file name: of fixed length, and without letters that a file name
// cannot hold. (64-bit FNV-1a.)
std::string FileNamePart(const std::string& cable) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char c : cable) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3u;
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "cable-%016llx", static_cast<unsigned long long>(hash));
    return text.data();
}

std::optional<SocketAddress> AddressOf(const std::string& path) {
    SocketAddress address{};
    if (path.size() >= sizeof address.Address.sun_path) return std::nullopt;
    address.Address.sun_family = AF_UNIX;
    std::memcpy(address.Address.sun_path, path.c_str(), path.size() + 1);
    address.Length = sizeof address.Address;
    return address;
}

} // namespace

std::string BridgeFolder() {
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code failed;
    const bool given = runtime && std::filesystem::is_directory(runtime, failed);
    const std::string folder =
        given ? std::string(runtime) + "/zormidi" : "/tmp/zormidi-" + std::to_string(getuid());
    mkdir(folder.c_str(), 0700);
    struct stat status {};
    // Not a link, ours, and closed to others, or someone could listen in or send for us.
    const bool safe = lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                      status.st_uid == getuid() && (status.st_mode & 0077) == 0;
    return safe ? folder : std::string();
}

std::optional<SocketAddress> BridgeAddress(const std::string& folder, const std::string& cable,
                                           unsigned number) {
    return AddressOf(folder + "/" + FileNamePart(cable) + "." + std::to_string(getpid()) + "." +
                     std::to_string(number));
}

std::vector<SocketAddress> BridgePeers(const std::string& folder, const std::string& cable) {
    std::vector<SocketAddress> peers;
    const std::string prefix = FileNamePart(cable) + ".";
    std::error_code failed;
    for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        if (!entry->path().filename().string().starts_with(prefix)) continue;
        if (const auto address = AddressOf(entry->path().string())) peers.push_back(*address);
    }
    return peers;
}

} // namespace machine
