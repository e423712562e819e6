#include "platform/curl_options.h"
