#include "voran/platform/configuration_section.h"

inline namespace voran {

ConfigurationSection::~ConfigurationSection() = default;

}  // namespace voran
