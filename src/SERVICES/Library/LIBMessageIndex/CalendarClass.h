// CalendarClass.h -- tells the class of a meeting message: request, answer, cancellation.
#pragma once

#include <functional>
#include <string_view>

#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"
#include "message/Text.h"

namespace corvane {

// Sets Class if `contentType`, a Content-Type value with its parameters, is that of a calendar
// whose method is known; nothing otherwise. `text` gives the calendar and is called only where the
// answer lies in it.
void SetCalendarClass(MessageHeaders& headers, std::string_view contentType,
                      const std::function<Text()>& text);

}  // namespace corvane
