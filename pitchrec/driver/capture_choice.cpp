#include "pitchrec/driver/capture_choice.h"

#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"

#include <memory>
#include <new>

Sonorel::SoundIn* ChooseSoundIn() {
    std::unique_ptr<Sonorel::SoundIn> direct(new (std::nothrow) Sonorel::SoundInDx);
    if (direct) {
        // Opened only to find out whether it can be. After a failure the closing frees what the
        // attempt left.
        const bool opens = direct->Open(CaptureRate);
        direct->Close();
        if (opens) return direct.release();
        direct.reset();
    }
    return new (std::nothrow) Sonorel::SoundInWin;
}
