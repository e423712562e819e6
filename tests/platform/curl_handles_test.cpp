#include "platform/curl_handles.h"
