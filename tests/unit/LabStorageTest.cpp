#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>

#include <functional>

#include "LabLibrary.h"
#include "lab/storage/ComServer.h"
#include "store/ZakStorageDB.h"

namespace lab_test {
namespace {

constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);
constexpr HRESULT kInvalidData = static_cast<HRESULT>(0x8007000D);
constexpr E_ZAKSTORAGE_VISIBILITY kPublic = E_ZAKSTORAGE_PUBLIC;

class Text {
public:
    explicit Text(const std::wstring& text)
        : text_(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Text() { ::SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    operator BSTR() const { return text_; }

private:
    BSTR text_;
};

struct Variant : VARIANT {
    Variant() { ::VariantInit(this); }
    explicit Variant(const std::wstring& text) {
        vt = VT_BSTR;
        bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    ~Variant() { ::VariantClear(this); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
};

/// A value for comparison: the type, and the content as text where the type has one.
std::wstring Show(const VARIANT& value) {
    const std::wstring type = std::to_wstring(value.vt);
    if (value.vt == VT_BSTR) {
        return value.bstrVal ? std::wstring(value.bstrVal, ::SysStringLen(value.bstrVal))
                             : L"(null)";
    }
    Variant text;
    const bool hasText = value.vt != VT_UNKNOWN &&
                         SUCCEEDED(::VariantChangeTypeEx(&text, const_cast<VARIANT*>(&value), 0x409,
                                                         VARIANT_ALPHABOOL, VT_BSTR));
    return type + L":" + (hasText ? text.bstrVal : L"");
}

std::wstring ShowList(const VARIANT& list) {
    if (!(list.vt & VT_ARRAY) || !list.parray || ::SafeArrayGetDim(list.parray) != 1) {
        return std::to_wstring(list.vt) + (list.vt & VT_ARRAY && !list.parray ? L" null" : L"");
    }
    LONG lower = 0, upper = 0;
    ::SafeArrayGetLBound(list.parray, 1, &lower);
    ::SafeArrayGetUBound(list.parray, 1, &upper);
    std::wstring shown = std::to_wstring(list.vt) + L" from " + std::to_wstring(lower) + L":";
    for (LONG i = lower; i <= upper; ++i) {
        Variant element;
        if (list.vt & VT_VARIANT & ~VT_BSTR) {
            ::SafeArrayGetElement(list.parray, &i, &element);
        } else {
            ::SafeArrayGetElement(list.parray, &i, &element.bstrVal);
            element.vt = VT_BSTR;
        }
        shown += L" " + Show(element);
    }
    return shown;
}

/// The component, loaded without any registration, over a file in a folder of the test.
class LabStorage : public testing::Test {
protected:
    void Load() {
        dll_ = std::make_unique<Library>(
            L"zakstorage.dll",
            std::map<std::wstring, std::wstring>{{L"DHCPLAB_JOURNAL", folder_ / L"journal"},
                                                 {L"DHCPLAB_FAULTS", folder_ / L"faults"}});
        Create();
    }
    void Create() {
        auto* const getClass =
            dll_->Get<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject");
        ASSERT_NE(getClass, nullptr);
        void* factory = nullptr;
        ASSERT_EQ(getClass(CLSID_LabZakStorageDB, IID_IClassFactory, &factory), S_OK);
        void* made = nullptr;
        created_ =
            static_cast<IClassFactory*>(factory)->CreateInstance(nullptr, IID_IZakStorageDB, &made);
        static_cast<IClassFactory*>(factory)->Release();
        store_ = static_cast<IZakStorageDB*>(made);
    }
    HRESULT Open() {
        if (!dll_) {
            Load();
        }
        return store_->Initialize(Text(folder_ / L"s.xml"));
    }
    HRESULT Open(const std::string& sections) {
        WriteAll(folder_ / L"s.xml", "<store>" + sections + "</store>");
        return Open();
    }
    HRESULT Put(const std::wstring& entry, const std::wstring& name, const std::wstring& text) {
        const Variant value(text);
        return store_->put_Value(kPublic, 0, Text(L"S"), Text(entry), Text(name), value);
    }
    std::wstring Get(const std::wstring& entry, const std::wstring& name) {
        Variant value;
        const HRESULT hr =
            store_->get_Value(kPublic, 0, Text(L"S"), Text(entry), Text(name), &value);
        return hr == S_OK ? Show(value) : hr == kNotFound ? L"(missing)" : L"(error)";
    }
    std::wstring List(const std::wstring& section) {
        Variant list;
        EXPECT_EQ(store_->Enumerate(kPublic, 0, Text(section), nullptr, &list), S_OK);
        return ShowList(list);
    }
    std::wstring ListValues(const std::wstring& entry) {
        Variant list;
        EXPECT_EQ(store_->EnumerateWithValue(kPublic, 0, Text(L"S"), Text(entry), nullptr, &list),
                  S_OK);
        return ShowList(list);
    }
    std::string Journal() { return ReadAll(folder_ / L"journal"); }
    void ReopenInANewDll() {
        ASSERT_EQ(store_->Uninitialize(), S_OK);
        store_->Release();
        dll_.reset();
        ASSERT_EQ(Open(), S_OK);
    }
    void TearDown() override {
        if (store_) {
            store_->Release();
        }
    }

    const Folder folder_;
    std::unique_ptr<Library> dll_;
    IZakStorageDB* store_ = nullptr;
    HRESULT created_ = E_FAIL;
};

TEST_F(LabStorage, TextsAndNamesSurviveTheFile) {
    const std::wstring texts[] = {
        L"",
        L"  leading and trailing  ",
        L" ",
        L"a\r\n\tb\n",
        L"<&>\"'\\ \\n \\x41",
        std::wstring(L"nul\0inside", 10),
        L"\x01\x1F\x7F\x85\u2028",
        L"caf\u00E9 \u4E2D \U0001F600",
        L"\xDC00 alone \xD83D",
        L"\xFFFE\xFFFF\uFEFF",
        std::wstring(40000, L'x') + L"\u20AC",
    };
    ASSERT_EQ(Open(""), S_OK);
    for (const std::wstring& text : texts) {
        EXPECT_EQ(Put(L"id " + text, L"name " + text, text), S_OK);
    }
    EXPECT_EQ(Put(texts[4], L"", L"no name"), S_OK);
    ReopenInANewDll();
    for (const std::wstring& text : texts) {
        EXPECT_EQ(Get(L"id " + text, L"name " + text), text);
    }
    EXPECT_EQ(Get(texts[4], L""), L"no name");
}

TEST_F(LabStorage, ValuesKeepTheirTypesAndNumbersDoNotFollowTheMachinesLocale) {
    ASSERT_EQ(Open(R"(<section name="S"><entry id="t"><value name="a" text="x"/>
        <value name="b" type="ui4" text="4294967295"/><value name="c" type="i4" text="-1"/>
        <value name="d" type="i2" text="7"/><value name="e" type="r8" text="1.5"/>
        <value name="f" type="bool" text="true"/><value name="g" type="date" text="3/4/2020"/>
        <value name="h" type="empty"/><value name="i" type="null"/><value name="j" type="nullbstr"/>
        <value name="k" type="unknown"/><value name="l" type="address" text="10.1.0.255"/>
        <value nametype="unknown" text="y"/></entry><entry idtype="i4" id="5"/></section>)"),
              S_OK);
    const std::wstring shown =
        L"8204 from 0: a x b 19:4294967295 c 3:-1 d 2:7 e 5:1.5 f 11:True g 7:3/4/2020 h 0: i 1: "
        L"j  k 13: l 19:167837951 13: y";
    EXPECT_EQ(ListValues(L"t"), shown);
    EXPECT_EQ(Get(L"t", L"j"), L"(null)") << "the list shows a copy, which is never null";
    EXPECT_EQ(List(L"S"), L"8204 from 0: t 3:5");
    EXPECT_EQ(Put(L"t", L"A", L"z"), S_OK);
    ReopenInANewDll();
    EXPECT_EQ(ListValues(L"t"), std::wstring(shown).replace(15, 1, L"z"));
    EXPECT_EQ(List(L"S"), L"8204 from 0: t 3:5");
}

TEST_F(LabStorage, EnumerationsAnswerInTheFormThatTheFileAsksFor) {
    const struct {
        const char* attributes;
        const wchar_t* list;
        const wchar_t* pairs;
    } rows[] = {
        {"lower='5'", L"8204 from 5: e f", L"8204 from 5: n v m w"},
        {"result='odd' lower='1'", L"8204 from 1: e", L"8204 from 1: n v m"},
        {"result='bstr-array'", L"8200 from 0: e f", L"8200 from 0: n v m w"},
        {"result='i4'", L"3", L"3"},
        {"result='empty'", L"0", L"0"},
        {"result='null-array'", L"8204 null", L"8204 null"},
        {"result='two-dimensional'", L"8204", L"8204"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.attributes);
        const std::string shape = row.attributes;
        ASSERT_EQ(Open("<section name='S' " + shape + "><entry id='e' " + shape +
                       "><value name='n' text='v'/><value name='m' text='w'/></entry><entry "
                       "id='f'/></section>"),
                  S_OK);
        EXPECT_EQ(Put(L"f", L"more", L"makes the file be written again"), S_OK);
        ReopenInANewDll();
        EXPECT_EQ(List(L"S"), row.list);
        EXPECT_EQ(ListValues(L"e"), row.pairs);
        EXPECT_EQ(store_->Uninitialize(), S_OK);
    }
}

TEST_F(LabStorage, OrderIsKeptAndOnlyValueNamesIgnoreCase) {
    ASSERT_EQ(Open("<section name='S'><entry id='b'/><entry id='a'><value name='X' text='1'/>"
                   "<value name='x' text='2'/></entry></section>"),
              S_OK);
    EXPECT_EQ(Get(L"a", L"X"), L"2") << "the later of two, as a reader of the list ends up with";
    EXPECT_EQ(Get(L"A", L"X"), L"(missing)");
    EXPECT_EQ(Get(L"a", L"Y"), L"(missing)");
    EXPECT_EQ(Put(L"0", L"\u00C9t\u00E9", L"new"), S_OK);
    EXPECT_EQ(Get(L"0", L"\u00E9T\u00C9"), L"new");
    EXPECT_EQ(List(L"S"), L"8204 from 0: b a 0");
    EXPECT_EQ(ListValues(L"a"), L"8204 from 0: X 1 x 2");
    EXPECT_EQ(List(L"s"), L"8204 from 0:");
    Variant none;
    EXPECT_EQ(store_->EnumerateWithValue(kPublic, 0, Text(L"S"), Text(L"c"), nullptr, &none),
              kNotFound);
    EXPECT_EQ(store_->Uninitialize(), S_OK);
    EXPECT_EQ(Journal().find("MISUSE"), std::string::npos);
}

TEST_F(LabStorage, AFileThatIsNoStoreIsRefusedAsAWhole) {
    Load();
    EXPECT_EQ(Open(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    for (const char* const noXml : {"", "garbage", "<store><section name='S'>", "<stores/>",
                                    "<store><section name='S'></store></section>"}) {
        WriteAll(folder_ / L"s.xml", noXml);
        EXPECT_TRUE(FAILED(Open())) << noXml;
    }
    const std::string start = "<section name='S'><entry id='e'><value name='a' ";
    const std::string end = "</entry></section>";
    const struct {
        const char* why;
        std::string sections;
    } rows[] = {
        {"text between", "x"},
        {"unknown element", "<section name='S'><value/></section>"},
        {"too deep", start + "><x/></value>" + end},
        {"unknown attribute", "<section name='S' nam='T'/>"},
        {"section twice", "<section name='S'/><section name='S'/>"},
        {"entry twice", "<section name='S'><entry id='e'/><entry id='e'/></section>"},
        {"unknown shape", "<section name='S' result='list'/>"},
        {"unknown type", start + "type='text'/>" + end},
        {"no such number", start + "type='ui4' text='x'/>" + end},
        {"no such address", start + "type='address' text='1.2.3.256'/>" + end},
        {"broken escape", "<section name='\\q'/>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Open(row.sections), kInvalidData);
        Variant list;
        EXPECT_EQ(store_->Enumerate(kPublic, 0, Text(L"S"), nullptr, &list), E_UNEXPECTED);
    }
    // A caller may go on after a failure to open; that is no misuse.
    EXPECT_EQ(store_->Uninitialize(), E_UNEXPECTED);
    EXPECT_EQ(Journal().find("MISUSE"), std::string::npos);
}

TEST_F(LabStorage, TheSampleIsWrittenBackByteForByteAndOnlyWhenSomethingChanged) {
    const std::string sample = ReadAll(std::wstring(SAMPLE_DIRECTORY) + L"/Zephon.XML");
    ASSERT_GT(sample.size(), 10000u);
    const std::string otherForm = sample + "<!-- comments are not kept -->";
    Load();
    for (const bool isChanged : {false, true}) {
        WriteAll(folder_ / L"s.xml", otherForm);
        ASSERT_EQ(Open(), S_OK);
        const Variant old(L"10.1.0.1"), changed(isChanged ? L"10.1.0.9" : L"10.1.0.1");
        for (const Variant* const value : {&changed, &old}) {
            EXPECT_EQ(store_->put_Value(kPublic, 0, Text(L"Segments"), Text(L"10.1.0.0"),
                                        Text(L"ADDRESS"), *value),
                      S_OK);
        }
        EXPECT_EQ(ReadAll(folder_ / L"s.xml"), otherForm);
        EXPECT_EQ(store_->Uninitialize(), S_OK);
        EXPECT_EQ(ReadAll(folder_ / L"s.xml"), isChanged ? sample : otherForm);
    }
}

TEST_F(LabStorage, MisuseIsJournalled) {
    Load();
    Text s(L"S"), e(L"e"), n(L"n");
    const Variant text(L"t");
    Variant number, taken(L"taken");
    number.vt = VT_I4;
    number.lVal = 5;
    const struct {
        const char* line;
        HRESULT hr;
        std::function<HRESULT(VARIANT*)> call;
    } rows[] = {
        {"get_Value: visibility 0", E_INVALIDARG,
         [&](VARIANT* v) {
             return store_->get_Value(static_cast<E_ZAKSTORAGE_VISIBILITY>(0), 0, s, e, n, v);
         }},
        {"get_Value: index 1", E_INVALIDARG,
         [&](VARIANT* v) { return store_->get_Value(kPublic, 1, s, e, n, v); }},
        {"get_Value: section is null", E_INVALIDARG,
         [&](VARIANT* v) { return store_->get_Value(kPublic, 0, nullptr, e, n, v); }},
        {"get_Value: out VARIANT is null", E_POINTER,
         [&](VARIANT*) { return store_->get_Value(kPublic, 0, s, e, n, nullptr); }},
        {"get_Value: out VARIANT is not empty, its content is lost: bstr \"taken\"", S_OK,
         [&](VARIANT*) {
             BSTR const lost = taken.bstrVal;
             const HRESULT hr = store_->get_Value(kPublic, 0, s, e, n, &taken);
             ::SysFreeString(lost);
             return hr;
         }},
        {"put_Value: value is no text: i4 5", E_INVALIDARG,
         [&](VARIANT*) { return store_->put_Value(kPublic, 0, s, e, n, number); }},
        {"put_Value: entry or value name is null", E_INVALIDARG,
         [&](VARIANT*) { return store_->put_Value(kPublic, 0, s, e, nullptr, text); }},
        {"Enumerate: only sections can be listed, entry is e", E_INVALIDARG,
         [&](VARIANT* v) { return store_->Enumerate(kPublic, 0, s, e, v); }},
        {"EnumerateWithValue: the unused text is not null", E_INVALIDARG,
         [&](VARIANT* v) { return store_->EnumerateWithValue(kPublic, 0, s, e, n, v); }},
        {"EnumerateWithValue: entry is null", E_INVALIDARG,
         [&](VARIANT* v) {
             return store_->EnumerateWithValue(kPublic, 0, s, nullptr, nullptr, v);
         }},
        {"Initialize: store is open already", E_UNEXPECTED,
         [&](VARIANT*) { return store_->Initialize(s); }},
        {"Unused9 called", E_NOTIMPL, [&](VARIANT*) { return store_->Unused9(); }},
        {"Uninitialize: after Uninitialize", E_UNEXPECTED,
         [&](VARIANT*) {
             return FAILED(store_->Uninitialize()) ? E_FAIL : store_->Uninitialize();
         }},
        {"get_Value: after Uninitialize", E_UNEXPECTED,
         [&](VARIANT* v) { return store_->get_Value(kPublic, 0, s, e, n, v); }},
    };
    Variant early;
    EXPECT_EQ(store_->Enumerate(kPublic, 0, s, nullptr, &early), E_UNEXPECTED);
    EXPECT_EQ(Journal(),
              "store CreateInstance -> 0x00000000\nMISUSE store Enumerate: before Initialize\n"
              "store Enumerate S -> 0x8000FFFF\n");
    ASSERT_EQ(Open("<section name='S'><entry id='e'><value name='n' text='t'/></entry></section>"),
              S_OK);
    for (const auto& row : rows) {
        const size_t before = Journal().size();
        Variant out;
        EXPECT_EQ(row.call(&out), row.hr) << row.line;
        const std::string line = std::string("MISUSE store ") + row.line + "\n";
        const std::string journal = Journal().substr(before);
        EXPECT_NE(journal.find(line), std::string::npos) << journal << "has no " << line;
    }
    EXPECT_EQ(Get(L"e", L"n"), L"(error)");
}

TEST_F(LabStorage, AStoreLeftOpenIsSavedAndReported) {
    for (const bool isReleased : {true, false}) {
        SCOPED_TRACE(isReleased);
        ASSERT_EQ(Open(""), S_OK);
        EXPECT_EQ(Put(L"e", L"a b", isReleased ? L"released" : L"unloaded"), S_OK);
        if (isReleased) {
            store_->Release();
        }
        store_ = nullptr;
        const size_t before = Journal().size();
        dll_.reset();
        EXPECT_EQ(Journal().substr(before), isReleased
                                                ? ""
                                                : "MISUSE store left open, saved now -> "
                                                  "0x00000000\nMISUSE store references left: 1\n");
        EXPECT_NE(Journal().find("store put_Value S e \"a b\" bstr \"released\" -> 0x00000000\n"
                                 "MISUSE store left open, saved now -> 0x00000000\n"),
                  std::string::npos);
        EXPECT_NE(ReadAll(folder_ / L"s.xml").find(isReleased ? "\"released\"" : "\"unloaded\""),
                  std::string::npos);
    }
}

TEST_F(LabStorage, PlannedFaultsAnswerAndTheirCountOutlivesTheDll) {
    WriteAll(folder_ / L"faults",
             "CreateInstance #3 = 0x80040111\nUninitialize #1 = 5\nget_Value #2 = 0x80004005\n"
             "any #9 = 0x8007000E\n");
    ASSERT_EQ(Open(""), S_OK);                      // any 1 and 2
    EXPECT_EQ(Put(L"e", L"n", L"kept"), S_OK);      // 3
    EXPECT_EQ(Get(L"e", L"n"), L"kept");            // 4
    EXPECT_EQ(store_->Uninitialize(), HRESULT{5});  // 5: saved all the same
    store_->Release();
    dll_.reset();
    ASSERT_EQ(Open(), S_OK);                 // 6 and 7
    EXPECT_EQ(Get(L"e", L"n"), L"(error)");  // 8: the second get_Value of the process
    Variant list;
    EXPECT_EQ(store_->Enumerate(kPublic, 0, Text(L"S"), nullptr, &list), E_OUTOFMEMORY);
    EXPECT_EQ(List(L"S"), L"8204 from 0: e");
    EXPECT_EQ(store_->Uninitialize(), S_OK);
    store_->Release();
    Create();
    EXPECT_EQ(created_, static_cast<HRESULT>(0x80040111));
    EXPECT_EQ(store_, nullptr);
}

TEST_F(LabStorage, AHundredThousandEntriesCostNoMorePerCall) {
    // With a search from the front, or a file written for every put, this takes longer than the
    // time limit of a test.
    ASSERT_EQ(Open(""), S_OK);
    const int count = 100000;
    for (int i = 0; i < count; ++i) {
        Put(L"entry number " + std::to_wstring(i), L"Name", std::to_wstring(i));
    }
    EXPECT_EQ(store_->Uninitialize(), S_OK);
    ASSERT_EQ(Open(), S_OK);
    int wrong = 0;
    for (int i = count - 1; i >= 0; --i) {
        wrong += Get(L"entry number " + std::to_wstring(i), L"NAME") != std::to_wstring(i);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(store_->Uninitialize(), S_OK);
}

TEST_F(LabStorage, TheOldFileIsReplacedNeverWrittenTo) {
    ASSERT_EQ(Open("<section name='S'><entry id='e'/></section>"), S_OK);
    const std::string old = ReadAll(folder_ / L"s.xml");
    EXPECT_EQ(Put(L"e", L"n", L"new"), S_OK);
    const HANDLE reader = ::CreateFileW((folder_ / L"s.xml").c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
    // The reader would allow writing. It does not allow replacing: the old file stays, whole.
    EXPECT_EQ(store_->Uninitialize(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    ::CloseHandle(reader);
    EXPECT_EQ(ReadAll(folder_ / L"s.xml"), old);
    EXPECT_EQ(ReadAll(folder_ / L"s.xml.new"), "");
    ASSERT_EQ(Open(), S_OK);
    EXPECT_EQ(Put(L"e", L"n", L"new"), S_OK);
    EXPECT_EQ(store_->Uninitialize(), S_OK);
    EXPECT_NE(ReadAll(folder_ / L"s.xml").find("\"new\""), std::string::npos);
}

TEST_F(LabStorage, AKilledProcessLeavesTheOldFile) {
    // The test runs itself as the process that is killed with its store open.
    wchar_t path[MAX_PATH] = L"";
    if (::GetEnvironmentVariableW(L"LAB_TEST_STORE", path, MAX_PATH) > 0) {
        Load();
        const bool isPut = store_->Initialize(Text(path)) == S_OK && Put(L"e", L"n", L"v") == S_OK;
        ::TerminateProcess(::GetCurrentProcess(), isPut ? 7 : 8);
    }
    WriteAll(folder_ / L"s.xml", "<store/>");
    ::SetEnvironmentVariableW(L"LAB_TEST_STORE", (folder_ / L"s.xml").c_str());
    ::SetEnvironmentVariableW(L"TMP", (folder_ / L"").c_str());  // for the folder it cannot remove
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(program) + L"\" --gtest_filter=*AKilledProcess*";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;  // with none: its report is of no interest
    PROCESS_INFORMATION child{};
    ASSERT_TRUE(::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                 nullptr, &startup, &child));
    ::WaitForSingleObject(child.hProcess, 30000);
    DWORD exitCode = 0;
    ::GetExitCodeProcess(child.hProcess, &exitCode);
    ::CloseHandle(child.hThread);
    ::CloseHandle(child.hProcess);
    EXPECT_EQ(exitCode, 7u);
    EXPECT_EQ(ReadAll(folder_ / L"s.xml"), "<store/>");
}

TEST_F(LabStorage, RegistrationNamesTheDllAndGoesAwayAgain) {
    // A hive of our own: the machine's may serve another test at this moment.
    const wchar_t kHive[] = L"Software\\lab-test-classes";
    HKEY hive = nullptr;
    ASSERT_EQ(::RegCreateKeyW(HKEY_CURRENT_USER, kHive, &hive), ERROR_SUCCESS);
    ASSERT_EQ(::RegOverridePredefKey(HKEY_CLASSES_ROOT, hive), ERROR_SUCCESS);
    Load();
    EXPECT_EQ(dll_->Get<HRESULT WINAPI()>("DllRegisterServer")(), S_OK);
    const std::wstring progId = kStorageProgId;
    const std::wstring server = L"CLSID\\{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}\\InprocServer32";
    const struct {
        std::wstring key;
        const wchar_t* name;
        std::wstring end;
    } rows[] = {
        {progId + L"\\CLSID", L"", L"{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}"},
        {server, L"", L"\\zakstorage.dll"},
        {server, L"ThreadingModel", L"Both"},
    };
    for (const auto& row : rows) {
        wchar_t text[MAX_PATH] = L"";
        DWORD bytes = sizeof(text);
        EXPECT_EQ(
            ::RegGetValueW(hive, row.key.c_str(), row.name, RRF_RT_REG_SZ, nullptr, text, &bytes),
            ERROR_SUCCESS);
        const std::wstring got = text;
        EXPECT_TRUE(got.size() >= row.end.size() &&
                    got.substr(got.size() - row.end.size()) == row.end);
    }
    EXPECT_EQ(dll_->Get<HRESULT WINAPI()>("DllUnregisterServer")(), S_OK);
    HKEY left = nullptr;
    EXPECT_EQ(::RegOpenKeyW(hive, progId.c_str(), &left), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(::RegOpenKeyW(hive, server.c_str(), &left), ERROR_FILE_NOT_FOUND);
    ::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    ::RegCloseKey(hive);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kHive);
}

}  // namespace
}  // namespace lab_test
