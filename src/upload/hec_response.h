#pragma once

#include <string_view>
#include <tl/expected.hpp>

#include "upload/hec_error.h"

namespace ostrel {

// The collector can refuse data inside an HTTP success: a 2xx body is accepted only if it is a
// JSON object whose "code" is 0, absent or no integer. Anything that is not a JSON object (a
// proxy's login page, an empty body) is a rejection with code -1.
tl::expected<void, HECError> validateHECResponse(std::string_view body);

// The verdict on an answer to an event post: no HTTP status is invalidResponse, a status
// outside 2xx is httpError with the body as its text, and a 2xx goes to validateHECResponse.
tl::expected<void, HECError> classifyBatchResponse(long status, std::string_view body);

// The verdict on an answer to a health probe: any 2xx passes, whatever the body says.
tl::expected<void, HECError> classifyHealthResponse(long status, std::string_view body);

}  // namespace ostrel
