#include "platform/linux/ConsoleAlerts.h"

#include <string>
#include <vector>

namespace quelto {

ConsoleAlerts::ConsoleAlerts(std::ostream& out, long answer) : out_(out), answer_(answer) {}

void ConsoleAlerts::present(const AlertDescription& alert, std::function<void(long)> completion) {
    if (beforePrinting_) beforePrinting_();
    ++shown_;
    // An alert without buttons of its own has the single default button.
    std::vector<std::string> buttons = alert.buttons;
    if (buttons.empty()) buttons.push_back("OK");

    out_ << "alert: " << alert.messageText << "\n";
    const std::string& text = alert.informativeText;
    if (!text.empty()) {
        std::string::size_type start = 0;
        for (;;) {
            std::string::size_type end = text.find('\n', start);
            std::string line =
                text.substr(start, end == std::string::npos ? std::string::npos : end - start);
            out_ << "  |" << (line.empty() ? "" : " ") << line << "\n";
            if (end == std::string::npos) break;
            start = end + 1;
        }
    }
    out_ << "  buttons:";
    for (std::size_t i = 0; i < buttons.size(); ++i)
        out_ << (i ? ", " : " ") << "\"" << buttons[i] << "\" ("
             << Alerts::firstButtonReturn + static_cast<long>(i) << ")";
    out_ << "\n";

    long response = answer_;
    long index = response - Alerts::firstButtonReturn;
    if (index < 0 || index >= static_cast<long>(buttons.size())) {
        out_ << "  (" << answer_ << " is not a button of this alert: answering "
             << Alerts::firstButtonReturn << ")\n";
        response = Alerts::firstButtonReturn;
        index = 0;
    }
    out_ << "  answered: \"" << buttons[static_cast<std::size_t>(index)] << "\" (" << response
         << ")\n";
    out_.flush();
    if (completion) completion(response);
}

}  // namespace quelto
