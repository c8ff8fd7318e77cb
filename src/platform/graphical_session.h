#pragma once

namespace ostrel {

// Whether a window system can be reached, so that a toolkit can open its connection without
// failing: a platform chosen through QT_QPA_PLATFORM, or an X display whose server answers.
bool graphicalSessionAvailable();

}  // namespace ostrel
