// The build without Qt: the application always runs without a user interface.
#include "app/application.h"

namespace ostrel {

int runApplicationEntry(int, char**) {
    return runApplication();
}

}  // namespace ostrel
