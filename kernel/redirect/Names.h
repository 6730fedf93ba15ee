// Redirections that go by name: tables registered for names of one form, library-wide.
#pragma once

#include "kernel/redirect/Table.h"

namespace vk::redirect {

/// True for a name that only a registration can open.
bool is_registered_form(const wchar_t* name) noexcept;

/// Reads the table of a name. SUCCESS or ERROR_FILE_NOT_FOUND.
int find_name(const wchar_t* name, Table& table) noexcept;

/// Writes a name of that form that was not given before; room for V_REDIRECT_NAME_LENGTH characters.
void make_up_name(wchar_t* name) noexcept;

/// Enters a name, or takes it out. SUCCESS, ERROR_INVALID_PARAMETER for a name of another form, ERROR_NO_MEMORY, or
/// ERROR_FILE_NOT_FOUND.
int register_name(const wchar_t* name, const Table& table) noexcept;
int unregister_name(const wchar_t* name) noexcept;

} // namespace vk::redirect
