#include "platform/process_name_source.h"

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"
#include "records/text.h"

namespace ostrel {
namespace {

// comm, the kernel's name of the process, completed from the command line where the kernel
// cut it at 15 characters, as the process list names it: both lists then agree on a name.
class ProcProcessNameSource final : public ProcessNameSource {
  public:
    explicit ProcProcessNameSource(std::filesystem::path procRoot)
        : procRoot_(std::move(procRoot)) {}

    std::optional<std::string> processName(int64_t pid) override {
        if (pid <= 0 || pid > INT32_MAX) return std::nullopt;
        const auto proc = procfs::openDirectory(procRoot_.c_str());
        if (!proc) return std::nullopt;
        char commBuffer[64];
        const auto comm = procfs::readFileAt(
            proc->get(), procfs::PidPath(int32_t(pid), "comm").c_str(), commBuffer);
        if (!comm) return std::nullopt;
        const std::string_view kernelName = trimmed(*comm, "\n");
        if (kernelName.empty()) return std::nullopt;
        if (kernelName.size() < procfs::kKernelNameLength) return std::string(kernelName);
        char cmdlineBuffer[4096];
        const auto cmdline = procfs::readFileAt(
            proc->get(), procfs::PidPath(int32_t(pid), "cmdline").c_str(), cmdlineBuffer);
        return std::string(
            procfs::fullProcessName(kernelName, cmdline ? *cmdline : std::string_view()));
    }

  private:
    std::filesystem::path procRoot_;
};

}  // namespace

std::unique_ptr<ProcessNameSource> makeProcessNameSource(const std::filesystem::path& procRoot) {
    return std::make_unique<ProcProcessNameSource>(procRoot);
}

}  // namespace ostrel
