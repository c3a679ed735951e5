// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of get_short_name and remove_endl.

#include <string>

#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

namespace {

using vesk::postprocessor::UtilityFunctions;

TEST(GetShortName, ApiExamples) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name("/opt/fwd/cpu.xml"), "cpu");
  EXPECT_EQ(uf.get_short_name("a.xml"), "a");
}

TEST(GetShortName, ErasesPosPlusThreeCharacters) {
  struct Case {
    std::string name;
    std::string expected;
  };
  Case const cases[] = {
      {"cpu.xml", "cpu"},       {"/opt/fwd/memory-check.xml", "memory-check"},
      {"abc.xml.bak", "abcak"}, {"abcdef.xml.bak", "abcdef"},
      {"ab.xmlz", "ab"},        {"a.xmlzz", "azz"},
  };
  UtilityFunctions uf;
  for (Case const& c : cases) {
    EXPECT_EQ(uf.get_short_name(c.name), c.expected) << c.name;
  }
}

TEST(GetShortName, EmptyNameGivesEmpty) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name(""), "");
}

TEST(GetShortName, NameWithoutXmlKeepsBaseName) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name("/opt/fwd/cpu.json"), "cpu.json");
  EXPECT_EQ(uf.get_short_name("plain"), "plain");
  EXPECT_EQ(uf.get_short_name("dir/sub/"), "");
}

TEST(GetShortName, OnlyLastXmlIsRemoved) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name("a.xml.xml"), "a.xml");
}

TEST(GetShortName, XmlAtStartLosesThreeCharacters) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name(".xml"), "l");
  EXPECT_EQ(uf.get_short_name("dir/.xml"), "l");
}

TEST(GetShortName, XmlInDirectoryIsNotSearched) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_short_name("/a.xml/cpu"), "cpu");
}

TEST(RemoveEndl, ApiExamples) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.remove_endl("a\nb"), "ab");
  EXPECT_EQ(uf.remove_endl("line one\nline two\n"), "line oneline two");
}

TEST(RemoveEndl, EmptyTextGivesEmpty) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.remove_endl(""), "");
}

TEST(RemoveEndl, OnlyLineFeedsGiveEmpty) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.remove_endl("\n\n"), "");
}

TEST(RemoveEndl, CarriageReturnStays) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.remove_endl("x\r\n"), "x\r");
}

TEST(RemoveEndl, TabsAndSpacesStay) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.remove_endl("\ta \n\n b\t"), "\ta  b\t");
}

}  // namespace
