#include "platform/graphical_session.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

bool connects(const std::string& socketPath, bool abstract) {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) return false;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const size_t offset = abstract ? 1 : 0;
    if (socketPath.size() + offset >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path + offset, socketPath.data(), socketPath.size());
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + offset + socketPath.size() +
                                  (abstract ? 0 : 1));
    return connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), length) == 0;
}

}  // namespace

bool graphicalSessionAvailable() {
    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && *platform) return true;
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) return false;
    // ":0", ":0.0" or "unix:0" is the local server's socket; a remote display ("host:0") is
    // taken on trust, as its check would be a network connection.
    std::string name = display;
    if (name.starts_with("unix:")) name.erase(0, 4);
    if (!name.starts_with(':')) return true;
    const std::string number = name.substr(1, name.find('.') - 1);
    const std::string path = "/tmp/.X11-unix/X" + number;
    // X servers on Linux listen on the abstract name as well as on the file.
    return connects(path, true) || connects(path, false);
}

}  // namespace ostrel
