#include "ui/TabRendering.h"

namespace quelto {

std::string renderTab(const MainWindowModel&, const std::string&) {
    return {};
}
std::string renderWindow(const MainWindowModel&) {
    return {};
}

}  // namespace quelto
