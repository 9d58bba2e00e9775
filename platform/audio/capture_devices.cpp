#include "platform/audio/capture_devices.h"

#include <mutex>
#include <utility>

namespace machine {
namespace {

struct List {
    std::mutex Lock;
    std::vector<std::shared_ptr<CaptureDevice>> Devices;
};
// Never destroyed, since lanes run until the process ends.
List& Devices() {
    static List& list = *new List;
    return list;
}

} // namespace

std::optional<PcmFormat> PcmFormatOf(const WAVEFORMATEX& wave) {
    const bool known = wave.wFormatTag == WAVE_FORMAT_PCM && wave.nSamplesPerSec > 0 &&
                       (wave.nChannels == 1 || wave.nChannels == 2) &&
                       (wave.wBitsPerSample == 8 || wave.wBitsPerSample == 16);
    if (!known || wave.nBlockAlign != wave.nChannels * wave.wBitsPerSample / 8 ||
        wave.nAvgBytesPerSec != wave.nSamplesPerSec * wave.nBlockAlign)
        return std::nullopt;
    return PcmFormat{wave.nSamplesPerSec, wave.nChannels, wave.wBitsPerSample};
}

int AddCaptureDevice(std::shared_ptr<CaptureDevice> device) {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    list.Devices.push_back(std::move(device));
    return static_cast<int>(list.Devices.size()) - 1;
}

std::vector<std::shared_ptr<CaptureDevice>> PresentCaptureDevices() {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    std::vector<std::shared_ptr<CaptureDevice>> present;
    for (const auto& device : list.Devices)
        if (!device->Gone()) present.push_back(device);
    return present;
}

std::shared_ptr<CaptureDevice> CaptureDeviceByNumber(unsigned number) {
    auto present = PresentCaptureDevices();
    return number < present.size() ? std::move(present[number]) : nullptr;
}

std::shared_ptr<CaptureDevice> CaptureDeviceById(int id) {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    const bool known = id >= 0 && static_cast<std::size_t>(id) < list.Devices.size();
    return known ? list.Devices[static_cast<std::size_t>(id)] : nullptr;
}

int IdOfCaptureDevice(const CaptureDevice& device) {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    for (std::size_t i = 0; i < list.Devices.size(); ++i)
        if (list.Devices[i].get() == &device) return static_cast<int>(i);
    return -1;
}

int NumberOfCaptureDevice(int id) {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    int number = 0;
    for (std::size_t i = 0; i < list.Devices.size(); ++i) {
        if (list.Devices[i]->Gone()) continue;
        if (static_cast<int>(i) == id) return number;
        ++number;
    }
    return -1;
}

GUID GuidOfCaptureDevice(int id) {
    return {
        0x6d696372,
        0x6f70,
        0x4000,
        {0x80, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id)}};
}

std::shared_ptr<CaptureDevice> CaptureDeviceByGuid(const GUID* guid) {
    if (guid == nullptr || *guid == GUID{}) return CaptureDeviceByNumber(0);
    const int id = guid->Data4[6] << 8 | guid->Data4[7];
    if (*guid != GuidOfCaptureDevice(id)) return nullptr;
    auto device = CaptureDeviceById(id);
    return device && !device->Gone() ? device : nullptr;
}

void ForgetCaptureDevices() {
    List& list = Devices();
    const std::scoped_lock lock(list.Lock);
    list.Devices.clear();
}

} // namespace machine
