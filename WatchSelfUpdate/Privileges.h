// Giving up what a set-user-id start lent.
#pragma once

enum class Privileges {
    None,   ///< there was nothing to give up: the process had its caller's rights all along
    Lent,   ///< there was, and it is gone
    Remain, ///< it could not be given up, or not for good
};

/// Makes the caller's user and group the only ones of this process, for ever, and drops all capabilities
/// unless the caller is root. Looks at nothing but the process itself. The supplementary groups stay: a
/// set-user-id start adds none, they are the caller's own. The bit that forbids all further gains
/// (PR_SET_NO_NEW_PRIVS) is left alone on purpose: the host that is started later would inherit it and could
/// never ask for rights again.
Privileges dropPrivileges();
