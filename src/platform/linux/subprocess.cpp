#include "platform/subprocess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/unique_fd.h"

extern char** environ;

namespace ostrel {

tl::expected<ProcessOutput, std::string> runProcess(const std::filesystem::path& program,
                                                    const std::vector<std::string>& arguments) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) return tl::unexpected(std::string(std::strerror(errno)));
    UniqueFd readEnd(pipeEnds[0]);
    UniqueFd writeEnd(pipeEnds[1]);

    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int spawnError =
        posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawnError != 0) return tl::unexpected(std::string(std::strerror(spawnError)));
    writeEnd.reset();

    ProcessOutput result;
    char buffer[4096];
    while (true) {
        const ssize_t length = read(readEnd.get(), buffer, sizeof buffer);
        if (length > 0) {
            result.standardOutput.append(buffer, size_t(length));
        } else if (length == 0 || errno != EINTR) {
            break;
        }
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace ostrel
