#include <gtest/gtest.h>
#include <windows.h>

#include "common/Handle.h"
#include "fixtures/ScratchFolder.h"
#include "support/XmlFormat.h"

namespace {

TEST(XmlFile, SavesWhatItLoadsAndSaysWhyThereIsNoRoot) {
    const CScratchFolder folder;
    WriteFileBytes(folder.Path(L"bad.xml"), "<Root><Pool></Root>");
    WriteFileBytes(folder.Path(L"empty.xml"), "");
    WriteFileBytes(folder.Path(L"locked.xml"), "<Root/>");
    const CHandle locked(
        CreateFileW(folder.Path(L"locked.xml").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    constexpr struct {
        const wchar_t* name;
        XmlStatus status;
    } kCases[] = {{L"none.xml", XmlStatus::Missing},
                  {L"no such folder\\none.xml", XmlStatus::Missing},
                  {L"bad.xml", XmlStatus::Malformed},
                  {L"empty.xml", XmlStatus::Malformed},
                  {L"locked.xml", XmlStatus::Unreadable}};
    CBKXmlFormat document;
    for (const auto& c : kCases) {
        EXPECT_EQ(document.LoadFile(folder.Path(c.name).c_str()), nullptr) << c.name;
        EXPECT_EQ(document.Status(), c.status) << c.name;
    }
    const std::wstring path = folder.Path(L"good.xml");
    EXPECT_EQ(document.SaveFile(path.c_str()), static_cast<std::uint32_t>(XmlStatus::NoRoot));
    EXPECT_EQ(FileBytes(path), "");
    WriteFileBytes(path, "<Root/>");
    ASSERT_NE(document.LoadFile(path.c_str()), nullptr);
    ASSERT_EQ(document.SaveFile(path.c_str()), 0u);
    EXPECT_EQ(FileBytes(path), document.Write());
    EXPECT_EQ(folder.Files().size(), 4u);
    EXPECT_EQ(document.SaveFile(folder.Path(L"no such folder\\x.xml").c_str()),
              static_cast<std::uint32_t>(XmlStatus::WriteFailed));
}

}  // namespace
