#pragma once

// Whether this user's login starts this executable: the value "Quorvel-Guard" of the Run key. Windows error codes, 0 on
// success.
unsigned long InstallAutoStart();
// No such value counts as success.
unsigned long RemoveAutoStart();
