#include "platform/curl_session.h"
