// What one error description file gives.
#include "error_files.h"

#include "support/failing_malloc.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <string>

namespace {

class ErrorFile : public testing::Test
{
protected:
   Search searchIn(const std::string& content, int32_t code) const
   {
      return searchFile(folder_.write("errors.txt", content), code);
   }

   const ScratchFolder folder_;
};

} // namespace

TEST_F(ErrorFile, GivesTheTextOfAnEntry)
{
   const std::string content = "<?xml version=\"1.0\">\n<tvdocument>\n<tvcomment>\na free comment\n"
                               "</tvcomment>\n<tverror code=\"-52006\">\n"
                               "The resource was not found.\n</tverror>\n</tvdocument>\n";
   EXPECT_EQ(searchIn(content, -52006), found("The resource was not found."));
   EXPECT_EQ(searchIn(content, -52005), notFound());
}

TEST_F(ErrorFile, TheDeclarationMayGoOnAndIgnoresCase)
{
   const std::string rest = "<tvdocument>\n" + entry(1, "text");
   for (const char* declaration :
        {"<?xml version=\"1.0\">", "<?xml version=\"1.0\"?>", "<?XML VERSION=\"1.0\"?>",
         "<?xml version=\"1.0\" encoding=\"windows-1252\"?>", "<?xml version=\"1.0\"",
         "<?Xml Version=\"1.0\"?>\r"})
      EXPECT_EQ(searchIn(std::string(declaration) + "\n" + rest, 1), found("text")) << declaration;
}

TEST_F(ErrorFile, AnotherFirstLineSkipsTheFileSilently)
{
   const std::string rest = "<tvdocument>\n" + entry(1, "text") + "<tverror code=\"abc\">\n";
   for (const char* declaration :
        {"\xEF\xBB\xBF<?xml version=\"1.0\"?>", " <?xml version=\"1.0\">", "<?xml version=\"1.1\">",
         "<?xml version='1.0'>", "<?xml version=\"1.0", "", "<tvdocument>"})
      EXPECT_EQ(searchIn(std::string(declaration) + "\n" + rest, 1), notFound()) << declaration;
}

TEST_F(ErrorFile, AnotherSecondLineSkipsTheFileSilently)
{
   for (const char* second : {"", " <tvdocument>", "<tvdocumen>", "<document>"})
      EXPECT_EQ(searchIn("<?xml version=\"1.0\">\n" + std::string(second) + "\n<tvdocument>\n" +
                            entry(1, "text"),
                         1),
                notFound())
         << second;
}

TEST_F(ErrorFile, WhatFollowsATagOnItsLineIsIgnored)
{
   EXPECT_EQ(searchIn("<?xml version=\"1.0\"!!\n<tvdocument> and more\n<tvcomment> x\nfree\n"
                      "</tvcomment> y\n<tverror code=\"1\" and=\"more\" text on the line\ntext\n"
                      "</tverror> z\n",
                      1),
             found("text"));
}

TEST_F(ErrorFile, TagsIgnoreCase)
{
   EXPECT_EQ(searchIn("<?xml version=\"1.0\">\n<TVDocument>\n<TVCOMMENT>\n<tverror code=\"-1\">\n"
                      "commented out\n</tverror>\n</TvComment>\n<TVERROR CODE=\"-1\">\ntext\n"
                      "</TVERROR>\n",
                      -1),
             found("text"));
   EXPECT_EQ(searchIn(document("</TVDOCUMENT>\n" + entry(1, "behind the end")), 1), notFound());
}

TEST_F(ErrorFile, OnlyTheCaseOfLettersIsIgnored)
{
   // These differ from "<" and "?" by the bit that tells the cases of a letter apart.
   EXPECT_EQ(searchIn("<\x1Fxml version=\"1.0\">\n<tvdocument>\n" + entry(1, "text"), 1),
             notFound());
   EXPECT_EQ(searchIn(document("\x1Ctverror code=\"1\">\ntext\n</tverror>\n"), 1), notFound());
}

TEST_F(ErrorFile, ATagBehindASpaceIsNone)
{
   EXPECT_EQ(searchIn(document(" " + entry(1, "text")), 1), notFound());
   EXPECT_EQ(searchIn(document("<tverror code=\"1\">\none\n </tverror>\n</tverror>\n"), 1),
             found("one\n </tverror>"));
}

TEST_F(ErrorFile, TheNumberMayBeHexadecimalOrOctal)
{
   const std::string content = document(entry("0x10", "sixteen") + entry("010", "eight") +
                                        entry("0xFFFF34DA", "as the bits of a code"));
   EXPECT_EQ(searchIn(content, 16), found("sixteen"));
   EXPECT_EQ(searchIn(content, 8), found("eight"));
   EXPECT_EQ(searchIn(content, 10), notFound());
   EXPECT_EQ(searchIn(content, -52006), found("as the bits of a code"));
}

TEST_F(ErrorFile, TheNumberNeedsNoClosingQuote)
{
   EXPECT_EQ(searchIn(document("<tverror code=\"5\ntext\n</tverror>\n"), 5), found("text"));
}

TEST_F(ErrorFile, AnEntryWithoutANumberFailsEvenIfTheCodeComesLater)
{
   const std::string content = document(entry("abc", "text") + entry(1, "one"));
   EXPECT_EQ(searchIn(content, 1), failedNumber(0));
}

TEST_F(ErrorFile, AnEntryWhoseLineEndsBeforeTheNumberTellsThatNothingWasScanned)
{
   EXPECT_EQ(searchIn(document("<tverror code=\"\n1\">\ntext\n</tverror>\n"), 1), failedNumber(-1));
   EXPECT_EQ(searchIn(document("<tverror code=\"\">\ntext\n</tverror>\n"), 1), failedNumber(0));
}

TEST_F(ErrorFile, ABadEntryBehindTheOneWithTheCodeIsNotReached)
{
   EXPECT_EQ(searchIn(document(entry(1, "one") + entry("abc", "text")), 1), found("one"));
}

TEST_F(ErrorFile, OfTwoEntriesWithOneCodeTheFirstWins)
{
   EXPECT_EQ(searchIn(document(entry(1, "first") + entry(1, "second")), 1), found("first"));
}

TEST_F(ErrorFile, AnEmptyFirstEntryHidesASecondOne)
{
   EXPECT_EQ(searchIn(document("<tverror code=\"1\">\n</tverror>\n" + entry(1, "second")), 1),
             notFound());
}

TEST_F(ErrorFile, UnknownTagsEmptyLinesAndFreeTextAreIgnored)
{
   EXPECT_EQ(searchIn(document("<unknown>\n\n\r\nfree text\n</unknown>\n<tverror>\n</tverror>\n"
                               "</tvcomment>\n<tverror code=1>\n" +
                               entry(1, "text")),
                      1),
             found("text"));
}

TEST_F(ErrorFile, ACommentIsSkippedUpToItsClosingLine)
{
   EXPECT_EQ(searchIn(document("<tvcomment>\n" + entry(1, "inside") +
                               "</tvdocument>\n<tverror code=\"abc\">\n</tvcomment>\n" +
                               entry(1, "outside")),
                      1),
             found("outside"));
}

TEST_F(ErrorFile, TheOpeningLineOfACommentDoesNotCloseIt)
{
   EXPECT_EQ(searchIn(document("<tvcomment></tvcomment>\n" + entry(1, "still inside") +
                               "</tvcomment>\n" + entry(1, "outside")),
                      1),
             found("outside"));
}

TEST_F(ErrorFile, NothingIsReadBehindTheEndOfTheDocument)
{
   EXPECT_EQ(searchIn(document("") + entry(1, "behind") + "<tverror code=\"abc\">\n", 1),
             notFound());
}

TEST_F(ErrorFile, TagsAndEntitiesInATextAreText)
{
   EXPECT_EQ(searchIn(document(entry(1, "a &amp; b\n<tvcomment>\n<tverror code=\"2\">\n"
                                        "</tvdocument>\n</tvcomment>")),
                      1),
             found("a &amp; b\n<tvcomment>\n<tverror code=\"2\">\n</tvdocument>\n</tvcomment>"));
}

TEST_F(ErrorFile, ATextLosesItsLastLineEndsAndKeepsTheInnerOnes)
{
   EXPECT_EQ(searchIn(document(entry(1, "one\r\n\r\ntwo\r")), 1), found("one\r\n\r\ntwo"));
   EXPECT_EQ(searchIn(document(entry(1, "one\n\n\r\n")), 1), found("one"));
   EXPECT_EQ(searchIn(document(entry(1, "\n one \t")), 1), found("\n one \t"));
}

TEST_F(ErrorFile, ATextOfLineEndsAloneStaysUncut)
{
   EXPECT_EQ(searchIn(document(entry(1, "\r\n")), 1), found("\r\n\n"));
}

TEST_F(ErrorFile, ALongLineOfATextArrivesWhole)
{
   const std::string longLine(3000, 'x');
   EXPECT_EQ(searchIn(document(entry(1, "before\n" + longLine + "\nafter")), 1),
             found("before\n" + longLine + "\nafter"));
}

TEST_F(ErrorFile, EachPieceOfALongLineOfATextIsTestedForTheClosingTag)
{
   const std::string piece(1023, 'x');
   EXPECT_EQ(searchIn(document("<tverror code=\"1\">\n" + piece + "</tverror>\n"), 1),
             found(piece));
}

TEST_F(ErrorFile, EachPieceOfALongLineOutsideAnEntryIsTestedAsALine)
{
   const std::string piece(1023, 'x');
   EXPECT_EQ(searchIn(document(piece + entry(1, "text")), 1), found("text"));
   EXPECT_EQ(searchIn(document(piece.substr(1) + entry(1, "text")), 1), notFound());
   EXPECT_EQ(searchIn(document(piece + "</tvdocument>\n" + entry(1, "text")), 1), notFound());
}

TEST_F(ErrorFile, WhatIsBehindTheFirstPieceOfAnOpeningLineIsText)
{
   const std::string opening = "<tverror code=\"1\">" + std::string(1023 - 18, '!');
   EXPECT_EQ(searchIn(document(opening + "spill\ntext\n</tverror>\n"), 1), found("spill\ntext"));
}

TEST_F(ErrorFile, ALongDeclarationSpillsIntoTheSecondLine)
{
   const std::string declaration = "<?xml version=\"1.0\"" + std::string(1023 - 19, ' ');
   EXPECT_EQ(searchIn(declaration + "<tvdocument>\n" + entry(1, "text"), 1), found("text"));
   EXPECT_EQ(searchIn(declaration + " ?>\n<tvdocument>\n" + entry(1, "text"), 1), notFound());
}

TEST_F(ErrorFile, ALineWithANulByteFirstFails)
{
   EXPECT_EQ(searchIn(document(std::string("\0text\n", 6) + entry(1, "one")), 1), failedHeading());
   EXPECT_EQ(searchIn(document(entry(1, "one") + std::string("\0\n", 2)), 1), found("one"));
}

TEST_F(ErrorFile, ANulByteInsideALineEndsTheLine)
{
   EXPECT_EQ(searchIn(document(std::string("x\0y\n", 4) +
                               entry(1, std::string("one\0two\nthree\n\0four", 19))),
                      1),
             found("onethree"));
}

TEST_F(ErrorFile, ANulByteFirstInACommentIsSkippedWithIt)
{
   EXPECT_EQ(
      searchIn(document(std::string("<tvcomment>\n\0\n</tvcomment>\n", 27) + entry(1, "one")), 1),
      found("one"));
}

TEST_F(ErrorFile, AnEntryThatDoesNotCloseFails)
{
   EXPECT_EQ(searchIn(document("<tverror code=\"1\">\ntext\n"), 1), failedWithoutEnd());
   EXPECT_EQ(searchIn(document("<tverror code=\"2\">\ntext\n"), 1), failedWithoutEnd())
      << "whoever's entry it is";
   EXPECT_EQ(searchIn("<?xml version=\"1.0\">\n<tvdocument>\n<tverror code=\"1\">", 1),
             failedWithoutEnd());
}

TEST_F(ErrorFile, AFileThatEndsOutsideAnEntryHasNoText)
{
   const std::string head = "<?xml version=\"1.0\">\n<tvdocument>\n";
   for (const std::string& content : {std::string(), std::string("<?xml version=\"1.0\">"),
                                      std::string("<?xml version=\"1.0\">\n"), head, head + "text",
                                      head + "<tvcomment>\nnever closed\n" + entry(1, "text"),
                                      head + entry(2, "no end of the document")})
      EXPECT_EQ(searchIn(content, 1), notFound()) << content;
}

TEST_F(ErrorFile, LastLinesNeedNoLineEnd)
{
   EXPECT_EQ(
      searchIn("<?xml version=\"1.0\">\n<tvdocument>\n<tverror code=\"1\">\ntext\n</tverror>", 1),
      found("text"));
}

TEST_F(ErrorFile, ThatIsMissingFails)
{
   EXPECT_EQ(searchFile(folder_.path("missing.txt"), 1), failedToOpen(folder_.path("missing.txt")));
   EXPECT_EQ(searchFile("", 1), failedToOpen(""));
}

TEST_F(ErrorFile, ItsPathTakesBothSeparatorsAndAnyCase)
{
   folder_.write("Errors/English/Codes.txt", document(entry(1, "text")));
   EXPECT_EQ(searchFile(folder_.path() + "\\errors/ENGLISH\\codes.TXT", 1), found("text"));
   EXPECT_EQ(searchFile(folder_.path() + "\\none", 1),
             failedToOpen(folder_.path() + "\\\\none")); // the backslash is escaped in JSON
}

TEST_F(ErrorFile, WithAnErrorInTheStatusNothingIsSearched)
{
   const std::string path = folder_.write("errors.txt", document(entry(1, "text")));
   OwnedString description("left from before");
   OwnedStatus status(-1);
   lorvex_findDescriptionInFile(path.c_str(), 1, &description, &status);
   EXPECT_EQ(description.text(), "");
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.text(), "");
}

TEST_F(ErrorFile, WithAWarningInTheStatusItIsSearched)
{
   const std::string path = folder_.write("errors.txt", document(entry(1, "text")));
   OwnedString description;
   OwnedStatus status(7);
   lorvex_findDescriptionInFile(path.c_str(), 1, &description, &status);
   EXPECT_EQ(description.text(), "text");
   EXPECT_EQ(status.code, 7);
   lorvex_findDescriptionInFile(folder_.path("missing.txt").c_str(), 1, &description, &status);
   EXPECT_EQ(status.code, -52006);
}

TEST_F(ErrorFile, WithoutMemoryThereIsAFailureAndNoPartOfAText)
{
   const std::string path = folder_.write(
      "errors.txt", document(entry(1, std::string(900, 'x') + "\n" + std::string(5000, 'y'))));
   size_t failures = 0;
   for (const auto then : {FailingMalloc::Then::succeed, FailingMalloc::Then::failAlways}) {
      quelerr_String description{};
      quelerr_Status status;
      quelerr_Status_init(&status);
      forEachFailingAllocation(
         then,
         [&](size_t) { lorvex_findDescriptionInFile(path.c_str(), 1, &description, &status); },
         [&](size_t index) {
            // The system may do without the buffer that it did not get.
            if (status.code == 0) {
               EXPECT_EQ(description.length, 5901u) << index;
            } else {
               EXPECT_TRUE(status.code == -52000 || status.code == -52006) << status.code;
               EXPECT_EQ(description.length, 0u) << index;
               ++failures;
            }
            quelerr_String_release(&description);
            quelerr_Status_release(&status);
            quelerr_Status_init(&status);
         });
      EXPECT_EQ(status.code, 0);
      EXPECT_EQ(description.length, 5901u);
      quelerr_String_release(&description);
      quelerr_Status_release(&status);
   }
   EXPECT_GT(failures, 4u);
}
