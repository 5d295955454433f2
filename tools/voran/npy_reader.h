#pragma once

#include <string>

#include "tools/voran/byte_source.h"
#include "tools/voran/table.h"
#include "tools/voran/table_roles.h"

namespace tool {

/// Reads a .npy file (versions 1 to 3; one or two dimensions, in either order, of little-endian float32 or float64),
/// whose magic has been taken from `source` already. A NaN is a missing element. Columns are named x1, x2, ...; only
/// the roles of variables and unused columns make sense here.
///
/// Rows are made as their numbers arrive, so a header that lies about its size costs no memory. Throws `Failure`.
Table ReadNpy(ByteSource& source, const std::string& name, const RoleRequest& roles, const ReadControl& control);

}  // namespace tool
