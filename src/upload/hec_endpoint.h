#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "upload/hec_error.h"

namespace ostrel {

// White space and line breaks cut from both ends, as settings pasted by hand often carry them.
std::string trimmedSetting(std::string_view text);

// The endpoint as requests will use it: trimmed, a URL, and HTTPS whatever else is configured.
// Text that is no URL is invalidEndpoint; a URL with another scheme, or with none at all, is
// insecureEndpoint.
tl::expected<std::string, HECError> checkedEndpoint(std::string_view text);

// The health check's path for an endpoint's path: the part up to the "collector" segment, so
// that any event or raw endpoint of the collector probes the same health resource.
std::string healthPath(std::string_view endpointPath);

// `endpoint` (as checkedEndpoint returned it) with its path replaced by healthPath's; the
// query and fragment stay.
std::string healthURL(std::string_view endpoint);

}  // namespace ostrel
