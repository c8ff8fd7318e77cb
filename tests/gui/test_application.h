#pragma once

namespace ostrel::testing {

// The one Qt application of a GUI test process, with the Fusion style, offscreen unless the
// caller chose a platform. Safe to call again.
void startTestApplication();

// Light or dark, as a desktop theme would set it.
void useTestPalette(bool dark);

}  // namespace ostrel::testing
