#include "app/MenuRendering.h"

namespace quelto {

std::string renderMenu(const std::vector<MenuRow>&) {
    return {};
}

}  // namespace quelto
