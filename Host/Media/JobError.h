// A failure of a command, carrying the exit status the program returns and a message that
// says what went wrong.
#pragma once

#include <stdexcept>
#include <string>

namespace fxhost {

class JobError : public std::runtime_error {
public:
    // Exit statuses of the program.
    enum { kTrouble = 1, kUsage = 2, kImage = 3, kEffect = 4, kHostFault = 5 };
    JobError(int status, const std::string& message) : std::runtime_error(message), mStatus(status) {}
    int status() const { return mStatus; }

private:
    int mStatus;
};

// Runs a step on files, giving its plain failures the exit status for image files.
template <typename Step>
auto imageStep(Step step) -> decltype(step()) {
    try {
        return step();
    } catch (const JobError&) {
        throw;
    } catch (const std::runtime_error& e) {
        throw JobError(JobError::kImage, e.what());
    }
}

}  // namespace fxhost
