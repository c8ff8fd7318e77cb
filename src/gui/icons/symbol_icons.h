#pragma once

#include <QColor>
#include <QIcon>
#include <string_view>

namespace ostrel {

// The design names its images by the other platform's symbol names ("pin.fill", "gear"). Each
// maps once, here, to a freedesktop icon-theme name, with a bundled SVG where a theme lacks it.
// With `tint`, the image is drawn in that one colour (a green start, an orange pin), which a
// theme's full-colour icon cannot be asked for. An unknown name gives an empty icon.
QIcon symbolIcon(std::string_view symbol, const QColor& tint = {});

}  // namespace ostrel
