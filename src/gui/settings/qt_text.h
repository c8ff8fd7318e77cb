#pragma once

#include <QString>
#include <string_view>

namespace ostrel {

// The model's UTF-8 text as Qt shows it.
inline QString qtText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace ostrel
