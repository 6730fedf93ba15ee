// Redirections that go by name: tables registered for names of one form, library-wide.
#pragma once

#include "kernel/redirect/Table.h"

namespace vk::redirect {

/// True for a name that only a registration can open.
bool is_registered_form(const wchar_t* name) noexcept;

/// Reads the table of a name. SUCCESS or ERROR_FILE_NOT_FOUND.
int find_name(const wchar_t* name, Table& table) noexcept;

} // namespace vk::redirect
