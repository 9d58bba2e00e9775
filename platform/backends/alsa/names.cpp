#include "platform/backends/alsa/names.h"

#include <algorithm>

namespace machine {
namespace {

constexpr std::size_t Most = 31; // bytes that an application gets

std::string Cut(const std::string& name, std::size_t most) {
    if (name.size() <= most) return name;
    while (most > 0 && (static_cast<unsigned char>(name[most]) & 0xC0) == 0x80) --most;
    const std::size_t end = name.find_last_not_of(' ', most - 1);
    return name.substr(0, std::min(most, end + 1));
}

// Without " (PROCESS)" and " (PROCESS:1)".
std::string WithoutProcess(std::string name, int process) {
    const std::string number = " (" + std::to_string(process);
    const std::size_t begin = process > 0 ? name.find(number) : std::string::npos;
    if (begin == std::string::npos) return name;
    const std::size_t next = begin + number.size();
    const std::size_t end = name.find(')', next);
    if (end != std::string::npos && (end == next || name[next] == ':'))
        name.erase(begin, end + 1 - begin);
    return name;
}

} // namespace

std::string WholeName(std::string client, std::string port, int process) {
    client = WithoutProcess(std::move(client), process);
    port = WithoutProcess(std::move(port), process);
    if (port.starts_with(client)) return port;
    return port.empty() ? client : client + " " + port;
}

std::string UniqueName(const std::string& whole, const std::vector<std::string>& taken) {
    const std::string plain = Cut(whole, Most);
    if (std::ranges::find(taken, plain) == taken.end()) return plain;
    for (int place = 2;; ++place) {
        const std::string mark = "#" + std::to_string(place) + " ";
        const std::string name = mark + Cut(whole, Most - mark.size());
        const auto beginsAlike = [&](const std::string& other) {
            return other.starts_with(mark) && (other.starts_with(name) || name.starts_with(other));
        };
        if (std::ranges::none_of(taken, beginsAlike)) return name;
    }
}

} // namespace machine
