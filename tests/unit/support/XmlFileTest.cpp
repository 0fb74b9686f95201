#include <gtest/gtest.h>
#include <windows.h>

#include "ScratchFolder.h"
#include "common/Handle.h"
#include "support/FileReplace.h"
#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"

namespace {

TEST(XmlFile, SavesLoadsAndSavesTheSameBytes) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"Config.xml");
    CBKXmlFormat document;
    SetAttribute(*document.AddRootNode("Root"), "Name", "M\xFCller & \"S\xF6hne\"");
    ASSERT_EQ(document.SaveFile(path.c_str()), 0u);
    const std::string bytes = FileBytes(path);
    EXPECT_EQ(bytes, document.Write());

    CBKXmlFormat loaded;
    const XML_NODE* root = loaded.LoadFile(path.c_str());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->attributes[0].second, "M\xFCller & \"S\xF6hne\"");
    ASSERT_EQ(loaded.SaveFile(path.c_str()), 0u);
    EXPECT_EQ(FileBytes(path), bytes);
    EXPECT_EQ(folder.Files(), std::vector<std::wstring>{L"Config.xml"});
}

TEST(XmlFile, SaysWhyThereIsNoRoot) {
    const CScratchFolder folder;
    CBKXmlFormat document;
    EXPECT_EQ(document.SaveFile(folder.Path(L"none.xml").c_str()), static_cast<std::uint32_t>(XmlStatus::NoRoot));
    EXPECT_TRUE(folder.Files().empty());

    EXPECT_EQ(document.LoadFile(folder.Path(L"none.xml").c_str()), nullptr);
    EXPECT_EQ(document.Status(), XmlStatus::Missing);
    EXPECT_EQ(document.LoadFile(folder.Path(L"no such folder\\none.xml").c_str()), nullptr);
    EXPECT_EQ(document.Status(), XmlStatus::Missing);

    WriteFileBytes(folder.Path(L"bad.xml"), "<Root><Pool></Root>");
    EXPECT_EQ(document.LoadFile(folder.Path(L"bad.xml").c_str()), nullptr);
    EXPECT_EQ(document.Status(), XmlStatus::Malformed);
    WriteFileBytes(folder.Path(L"empty.xml"), "");
    EXPECT_EQ(document.LoadFile(folder.Path(L"empty.xml").c_str()), nullptr);
    EXPECT_EQ(document.Status(), XmlStatus::Malformed);

    document.AddRootNode("Root");
    EXPECT_EQ(document.SaveFile(folder.Path(L"no such folder\\x.xml").c_str()),
              static_cast<std::uint32_t>(XmlStatus::WriteFailed));

    const CHandle locked(CreateFileW(folder.Path(L"bad.xml").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(locked);
    EXPECT_EQ(document.LoadFile(folder.Path(L"bad.xml").c_str()), nullptr);
    EXPECT_EQ(document.Status(), XmlStatus::Unreadable);
}

}  // namespace
