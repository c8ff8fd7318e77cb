#include "app/desktop_module.h"

#include <dlfcn.h>

#include <algorithm>

#include "platform/app_launcher.h"

namespace ostrel {

std::vector<std::filesystem::path> desktopModuleCandidates(
    const std::filesystem::path& executable, const std::filesystem::path& libraryDir) {
    const std::filesystem::path folder = executable.parent_path();
    std::vector<std::filesystem::path> candidates{folder / kDesktopModuleFileName};
    const auto add = [&](const std::filesystem::path& dir) {
        const auto path = (dir.is_absolute() ? dir : folder / ".." / dir) / kDesktopModuleFileName;
        if (std::ranges::find(candidates, path) == candidates.end()) candidates.push_back(path);
    };
    add(libraryDir);
    add("lib/ostrel");
    return candidates;
}

tl::expected<DesktopModuleMain, std::string> openDesktopModule() {
    const auto executable = ownExecutable();
    if (!executable) return tl::unexpected(std::string("the executable's path is unknown"));
    std::string tried;
    for (const auto& path : desktopModuleCandidates(*executable, OSTREL_MODULE_LIBDIR)) {
        std::error_code error;
        if (!std::filesystem::exists(path, error)) {
            tried += (tried.empty() ? "" : ", ") + path.lexically_normal().string();
            continue;
        }
        // RTLD_NOW: a module that misses a symbol fails here, with a reason, and not later in
        // the middle of a click.
        void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* reason = dlerror();
            return tl::unexpected("the desktop module cannot be opened: " +
                                  std::string(reason ? reason : path.string()));
        }
        auto* entry = reinterpret_cast<DesktopModuleMain>(dlsym(handle, kDesktopModuleEntry));
        if (!entry) {
            dlclose(handle);
            return tl::unexpected(path.string() + " has no entry " + kDesktopModuleEntry);
        }
        return entry;
    }
    return tl::unexpected("no desktop module (looked for " + tried + ")");
}

}  // namespace ostrel
