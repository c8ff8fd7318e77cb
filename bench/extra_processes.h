#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

// Sleeping children that make the machine look busier than it is, for as long as the object
// lives; they die with the benchmark even if it is killed.
class ExtraProcesses {
  public:
    explicit ExtraProcesses(int64_t count) {
        for (int64_t i = 0; i < count; ++i) {
            const pid_t pid = fork();
            if (pid == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                pause();
                _exit(0);
            }
            if (pid > 0) children_.push_back(pid);
        }
    }
    ~ExtraProcesses() {
        for (const pid_t pid : children_)
            kill(pid, SIGKILL);
        for (const pid_t pid : children_)
            waitpid(pid, nullptr, 0);
    }
    ExtraProcesses(const ExtraProcesses&) = delete;
    ExtraProcesses& operator=(const ExtraProcesses&) = delete;

  private:
    std::vector<pid_t> children_;
};
