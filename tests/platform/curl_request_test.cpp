#include "platform/curl_request.h"
