// One line on standard error that follows the work: rewritten in place on a terminal, printed anew
// every two seconds elsewhere.
#pragma once

#include <chrono>
#include <string>

namespace zorhost {

class Progress {
public:
    Progress();
    ~Progress() { End(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Whether enough time has passed for another Show to be of use.
    bool Due() const { return std::chrono::steady_clock::now() >= Next; }
    void Show(const std::string& line);
    // Leaves the last line standing. Call it before anything else is printed.
    void End();

private:
    bool Terminal;
    bool Open = false;
    std::string Last; // as it stands on the terminal
    std::chrono::steady_clock::time_point Next;
};

// "1:23.4", with hours "2:01:23.4"
std::string ClockText(std::int64_t milliseconds);
// "[#####-----]", filled as part is of whole.
std::string Bar(std::int64_t part, std::int64_t whole, int width);

} // namespace zorhost
