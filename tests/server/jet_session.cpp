// A program that has a database open with another Jet engine, as far as its lock file shows.
//
//   jet_session LOCK_FILE READY DONE
//
// Locks the first user's byte, sets the event READY, and leaves when the event DONE is set.
#include <windows.h>

int wmain(int argument_count, wchar_t** arguments) {
    constexpr DWORD kFirstUser = 0x10000001;
    if (argument_count != 4) return 2;
    HANDLE file = CreateFileW(arguments[1], GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS, 0, nullptr);
    OVERLAPPED place{};
    place.Offset = kFirstUser;
    if (!LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) return 1;
    SetEvent(OpenEventW(EVENT_MODIFY_STATE, FALSE, arguments[2]));
    WaitForSingleObject(OpenEventW(SYNCHRONIZE, FALSE, arguments[3]), 60000);
    return 0;
}
