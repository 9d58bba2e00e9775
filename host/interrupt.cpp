#include "host/interrupt.h"

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace zorhost {

namespace {
volatile std::sig_atomic_t interrupted = 0;

void OnSignal(int) { interrupted = 1; }
} // namespace

void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool Interrupted() { return interrupted != 0; }

void Nap(int milliseconds) {
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    nanosleep(&time, nullptr);
}

} // namespace zorhost
