// Pages of the documentation that the dialogs' Help shows, as they stand in docs/.
#pragma once

namespace zorhost {

extern const char Version[]; // of zorhost and the library
extern const char MidiSetupPage[];
extern const char MicrophoneSetupPage[];

} // namespace zorhost
