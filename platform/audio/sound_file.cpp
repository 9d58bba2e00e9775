#include "platform/audio/sound_file.h"

#include "platform/audio/channel_mix.h"

#include <filesystem>

namespace machine {
namespace {

// What can be said without looking inside. Empty if nothing is wrong.
std::string FaultOutside(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) return "there is no such file";
    if (error) return error.message();
    if (fs::is_directory(status)) return "it is a folder";
    if (fs::is_regular_file(status) && fs::file_size(path, error) == 0 && !error)
        return "the file is empty";
    return {};
}

} // namespace

std::unique_ptr<SoundFile> SoundFile::Open(const std::string& path, FileFeed& told) {
    told = {};
    std::string fault = FaultOutside(path);
    SF_INFO info = {};
    SNDFILE* file = fault.empty() ? sf_open(path.c_str(), SFM_READ, &info) : nullptr;
    if (fault.empty() && file == nullptr) {
        fault = sf_error(nullptr) == SF_ERR_SYSTEM
                    ? sf_strerror(nullptr)
                    : "it is not a sound file of a kind that can be read";
    }
    std::unique_ptr<SoundFile> opened(file != nullptr ? new SoundFile(file, info) : nullptr);
    if (opened && info.frames <= 0) fault = "it holds no sound";
    if (!fault.empty()) {
        told.Error = "Cannot use " + path + ": " + fault + ".";
        return nullptr;
    }
    told.Frames = opened->Frames();
    told.Rate = opened->Rate();
    told.Channels = opened->Channels();
    return opened;
}

std::vector<int> SoundFile::Layout() const {
    std::vector<int> layout(Channels());
    const int told = sf_command(file_.get(), SFC_GET_CHANNEL_MAP_INFO, layout.data(),
                                static_cast<int>(layout.size() * sizeof(int)));
    return told == SF_TRUE ? layout : UsualLayout(Channels());
}

bool SoundFile::Seek(std::uint64_t frame) {
    return sf_seek(file_.get(), static_cast<sf_count_t>(frame), SEEK_SET) >= 0;
}

std::size_t SoundFile::Read(float* samples, std::size_t frames) {
    const sf_count_t got = sf_readf_float(file_.get(), samples, static_cast<sf_count_t>(frames));
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

} // namespace machine
