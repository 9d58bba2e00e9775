// Which microphones there are, and what they are called.
#include "platform/api/capture_back_end.h"
#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <memory>

namespace machine {
namespace {

constexpr std::size_t LongestName = 31; // that applications get

// Not through the middle of a character.
std::string Cut(const std::string& text, std::size_t length) {
    if (text.size() <= length) return text;
    while (length > 0 && (text[length] & 0xC0) == 0x80) --length;
    return text.substr(0, length);
}

class NativeFinder final : public CaptureFinder {
public:
    std::vector<std::shared_ptr<CaptureDevice>> Find(std::string& reason) override {
        const Server::Lock lock;
        reason = Server::The().Await();
        std::vector<std::shared_ptr<CaptureDevice>> present;
        for (const Source& source : Server::The().Sources()) present.push_back(Of(source));
        if (reason.empty() && present.empty()) reason = "The sound server has no microphone.";
        return present;
    }

private:
    std::shared_ptr<NativeMicrophone> Of(const Source& source) {
        const auto known =
            std::ranges::find(Seen, source.Name, [](auto& each) { return each->Id(); });
        if (known != Seen.end()) return *known;
        Seen.push_back(std::make_shared<NativeMicrophone>(source, NameFor(source.Description)));
        return Seen.back();
    }

    // The description, and a number where others are called the same.
    std::string NameFor(const std::string& description) const {
        std::string name = Cut(description, LongestName);
        for (int number = 2;
             std::ranges::count(Seen, name, [](auto& each) { return each->Name(); }); ++number) {
            const std::string tail = " #" + std::to_string(number);
            name = Cut(description, LongestName - tail.size()) + tail;
        }
        return name;
    }

    std::vector<std::shared_ptr<NativeMicrophone>> Seen; // with the server's lock held
};

} // namespace
} // namespace machine

__attribute__((visibility("default"))) machine::CaptureFinder* OpenZorCapture() {
    static machine::NativeFinder& finder = *new machine::NativeFinder;
    return &finder;
}
