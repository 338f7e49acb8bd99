// A client whose threads share the apartment that has none of its own: the system carries its calls, as the type
// library describes them.
//
//   free_client FOLDER
//
// Records trainings from two threads; the result is the number of calls that went wrong.
#include <atomic>
#include <cstdio>
#include <thread>

#include "server/qmtraininfo.h"

namespace {

std::atomic<int> failures = 0;

void Expect(bool met, const char* what) {
    if (met) return;
    std::printf("free_client: %s\n", what);
    ++failures;
}

void RecordTrainings(const wchar_t* folder) {
    ITrainInfo* train = nullptr;
    Expect(CoCreateInstance(CLSID_TrainInfo, nullptr, CLSCTX_INPROC_SERVER, IID_ITrainInfo,
                            reinterpret_cast<void**>(&train)) == S_OK,
           "CoCreateInstance");
    if (train == nullptr) return;
    BSTR path = SysAllocString(folder);
    BSTR nowhere = SysAllocString(L"Z:\\nowhere");
    BSTR message = nullptr;
    VARIANT_BOOL ready = VARIANT_FALSE;
    Expect(train->put_ClientPath(nowhere) == static_cast<HRESULT>(0x80040001), "an error arrives");
    Expect(train->put_ClientPath(path) == S_OK, "put_ClientPath");
    Expect(train->Init(&message, &ready) == S_OK && ready == VARIANT_TRUE, "Init");
    for (int i = 0; i < 10; ++i) {
        LONG user = 1;
        LONG id = 0;
        Expect(train->AddNewTrain(45000, &user, 3, 0, 24, &id) == S_OK && id > 0, "AddNewTrain");
        Expect(train->LoadFromID(id) == S_OK, "LoadFromID");
    }
    for (BSTR text : {path, nowhere, message}) SysFreeString(text);
    train->Release();
}

}  // namespace

int wmain(int argument_count, wchar_t** arguments) {
    if (argument_count != 2) return 1;
    const auto run = [&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        RecordTrainings(arguments[1]);
        CoUninitialize();
    };
    std::thread first(run);
    std::thread second(run);
    first.join();
    second.join();
    return failures;
}
