#include "store/StoreFields.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <system_error>
#include <vector>

#include "win/TextConversion.h"

namespace {

using Fill = std::function<void(VARIANT&)>;

Fill Text(const wchar_t* text) {
    return [text](VARIANT& element) {
        element.vt = VT_BSTR;
        element.bstrVal = text ? ::SysAllocString(text) : nullptr;
    };
}
Fill Number(ULONG number) {
    return [number](VARIANT& element) {
        element.vt = VT_UI4;
        element.ulVal = number;
    };
}
Fill Other(VARTYPE type) {
    return [type](VARIANT& element) { element.vt = type; };
}

/// What the store answers: an array of these elements.
CComVariant& MakeResult(CComVariant& result, const std::vector<Fill>& elements, LONG lower = 0) {
    result.parray = ::SafeArrayCreateVector(VT_VARIANT, lower, static_cast<ULONG>(elements.size()));
    result.vt = VT_ARRAY | VT_VARIANT;
    VARIANT* data = nullptr;
    ::SafeArrayAccessData(result.parray, reinterpret_cast<void**>(&data));
    for (const Fill& fill : elements)
        fill(*data++);
    ::SafeArrayUnaccessData(result.parray);
    return result;
}

TEST(ArrayView, ElementsComeFromTheLowerBoundOnAndTheArrayIsFreeAfterwards) {
    CComVariant result;
    MakeResult(result, {Number(5), Number(6)}, 2147483640);
    {
        const ArrayView view(result);
        ASSERT_EQ(view.size(), 2u);
        EXPECT_EQ(view[0].ulVal, 5u);
        EXPECT_EQ((view.end() - 1)->ulVal, 6u);
    }
    EXPECT_EQ(result.parray->cLocks, 0u);
}

TEST(ArrayView, WhatIsNoListOfVariantsIsEmpty) {
    const auto sizeOf = [](VARTYPE type, SAFEARRAY* array) {
        CComVariant result;
        result.vt = type;
        result.parray = array;
        const std::size_t size = ArrayView(result).size();
        result.vt = VT_EMPTY;
        ::SafeArrayDestroy(array);
        return size;
    };
    constexpr VARTYPE kList = VT_ARRAY | VT_VARIANT;
    EXPECT_EQ(sizeOf(VT_EMPTY, nullptr), 0u);
    EXPECT_EQ(sizeOf(kList, nullptr), 0u);
    EXPECT_EQ(sizeOf(kList, ::SafeArrayCreateVector(VT_VARIANT, 7, 0)), 0u);
    EXPECT_EQ(sizeOf(VT_ARRAY | VT_BSTR, ::SafeArrayCreateVector(VT_BSTR, 0, 3)), 0u);
    EXPECT_EQ(sizeOf(kList, ::SafeArrayCreateVector(VT_BSTR, 0, 3)), 0u) << "a label that lies";
    SAFEARRAYBOUND bounds[] = {{2, 0}, {1, 0}};
    EXPECT_EQ(sizeOf(kList, ::SafeArrayCreate(VT_VARIANT, 2, bounds)), 0u) << "a table";
    SAFEARRAY* unfilled = nullptr;
    ::SafeArrayAllocDescriptorEx(VT_VARIANT, 1, &unfilled);
    unfilled->rgsabound[0] = {3, 0};
    EXPECT_EQ(sizeOf(kList, unfilled), 0u) << "no data";
    CComVariant locked;
    MakeResult(locked, {Number(5)}).parray->cLocks = 0xFFFF;
    EXPECT_THROW(ArrayView{locked}, std::system_error) << "no more locks";
    locked.parray->cLocks = 0;
}

TEST(TextConversion, IsThatOfTheThreadsCodePage) {
    const LCID before = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(NarrowText(L"a\x3042"), "a\x82\xa0");
    EXPECT_STREQ(WideText("a\x82\xa0").c_str(), L"a\x3042");
    ::SetThreadLocale(before);
    EXPECT_EQ(NarrowText(nullptr), "");
}

TEST(StoreFields, PairsFillTheFieldsAndThenBecomeTheirTypes) {
    constexpr StoreField fields[] = {{L"Name", VT_BSTR, "name"}, {L"Ip", VT_UI4, "ip"}};
    const struct {
        const char* why;
        std::vector<Fill> pairs;
        const char* expected;  // name and address, or the expression and result of the failure
    } rows[] = {
        {"another case and order", {Text(L"IP"), Number(7), Text(L"nAmE"), Text(L"A")}, "A 7"},
        {"longer", {Text(L"Name"), Text(L"A"), Text(L"Names"), Text(L"B")}, "A 0"},
        {"shorter", {Text(L"Name"), Text(L"A"), Text(L"Nam"), Text(L"B")}, "A 0"},
        {"later wins", {Text(L"Ip"), Number(7), Text(L"Ip"), Other(VT_EMPTY)}, " 0"},
        {"a name without a value", {Text(L"Ip"), Number(7), Text(L"Ip")}, " 7"},
        {"null texts", {Text(nullptr), Text(L"x"), Text(L"Name"), Text(nullptr)}, " 0"},
        {"converted", {Text(L"Name"), Other(VT_BOOL), Text(L"Ip"), Text(L"34")}, "0 34"},
        {"a name that is a number", {Number(1), Text(L"x"), Text(L"Name"), Text(L"A")}, "A 0"},
        {"a name that is no text, and has no value", {Other(VT_NULL)}, "pair name 80020005"},
        {"first first", {Text(L"Ip"), Text(L"x"), Text(L"Name"), Other(VT_NULL)}, "name 80020005"},
        {"too large", {Text(L"Ip"), Text(L"4294967296")}, "ip 8002000a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CComVariant result;
        CComVariant values[2];
        const ArrayView pairs(MakeResult(result, row.pairs, 1));
        const StoreFailure failure = ReadFields(pairs, "pair name", fields, values);
        std::ostringstream actual;
        if (FAILED(failure.hr))
            actual << failure.text << " " << std::hex << failure.hr;
        else
            actual << values[0].Narrow() << " " << values[1].ulVal;
        EXPECT_EQ(actual.str(), row.expected);
    }
}

}  // namespace
