// The error record, the convention by which every procedure uses it, and the assertion helper.

#include "support/CErrHandler.h"

#include <new>

#include <gtest/gtest.h>

#include "support/Convention.h"
#include "support/MDebug.h"
#include "tests/support/Conversation.h"
#include "tests/support/FakeUserInterface.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

class ErrorHandler : public testing::Test {
protected:
    std::string Shown() { return Spelled(handler.sToString()); }

    Conversation talk;
    FakeUserInterface screen{talk};
    CErrHandler handler{screen, LocalTime{2026, 11, 15, 1, 12, 58}};
};

TEST_F(ErrorHandler, StartsEmpty) {
    EXPECT_EQ(handler.sOriginalDescription(), L"");
    EXPECT_EQ(handler.sDescription(), L"");
    EXPECT_EQ(handler.sSource(), L"");
    EXPECT_EQ(handler.lOriginalNumber(), 0);
    EXPECT_EQ(handler.lNumber(), 0);
    EXPECT_EQ(handler.lLine(), 0);
    EXPECT_EQ(Shown(), "[0]  | ON LINE 0 | CALLSTACK: ");
}

TEST_F(ErrorHandler, HasAnEmptyArrayOfFramesAtFirstAndAfterClearing) {
    const auto expectEmpty = [&] {
        const Variant frames = handler.vasCallStack();
        ASSERT_TRUE(frames.IsArray());
        EXPECT_EQ(frames.LowerBound(), 0);
        EXPECT_EQ(frames.UpperBound(), -1);
    };
    expectEmpty();
    handler.Log(RuntimeError(5), L"A", L"b");
    handler.Clear();
    expectEmpty();
}

TEST_F(ErrorHandler, RecordsTheFirstErrorWhole) {
    handler.Log(RuntimeError(5000, L"Text", L"Quelle", 42), L"MGlobals", L"IniLesen");
    EXPECT_EQ(handler.sOriginalDescription(), L"Text");
    EXPECT_EQ(handler.sDescription(), L"Text");
    EXPECT_EQ(handler.sSource(), L"Quelle");
    EXPECT_EQ(handler.lOriginalNumber(), 5000);
    EXPECT_EQ(handler.lNumber(), 5000);
    EXPECT_EQ(handler.lLine(), 42);
    EXPECT_EQ(Shown(), "[5000] Text | ON LINE 42 | CALLSTACK: MGlobals.IniLesen");
    EXPECT_TRUE(talk.Said().empty());
}

TEST_F(ErrorHandler, TakesAFurtherErrorForTheSameOnItsWayOutwards) {
    handler.Log(RuntimeError(5000, L"Text", L"Quelle", 42), L"A", L"a");
    handler.Log(RuntimeError(91, L"Anders", L"Andere", 7), L"B", L"b");
    EXPECT_EQ(handler.sOriginalDescription(), L"Text");
    EXPECT_EQ(handler.lOriginalNumber(), 5000);
    EXPECT_EQ(handler.sSource(), L"Quelle");
    EXPECT_EQ(handler.lLine(), 42);
    EXPECT_EQ(handler.sDescription(), L"Anders");
    EXPECT_EQ(handler.lNumber(), 91);
    EXPECT_EQ(Shown(), "[91 (5000) ] Anders | ON LINE 42 | CALLSTACK: A.a <- B.b");
}

TEST_F(ErrorHandler, KeepsTheNumberAcrossARaise) {
    handler.Log(RuntimeError(5000, L"Text"), L"MGlobals", L"IniLesen");
    const RuntimeError raised = ErrorOf([&] { handler.RaiseAgain(); });
    EXPECT_EQ(raised.Number(), 5000);
    EXPECT_EQ(raised.Description(), L"Text");
    EXPECT_EQ(raised.Source(), L"MGlobals.IniLesen");
    handler.Log(raised, L"Kandora", L"InitProvider");
    EXPECT_EQ(handler.lOriginalNumber(), 5000);
    EXPECT_EQ(handler.lNumber(), 5000);
    EXPECT_EQ(Shown(), "[5000] Text | ON LINE 0 | CALLSTACK: MGlobals.IniLesen <- Kandora.InitProvider");
    EXPECT_EQ(ErrorOf([&] { handler.RaiseAgain(); }).Source(), L"MGlobals.IniLesen <- Kandora.InitProvider");
}

TEST_F(ErrorHandler, ShowsAChangedNumberWithTheFirstInParentheses) {
    handler.Log(RuntimeError(5000, L"Text"), L"A", L"a");
    handler.lNumber(17);
    EXPECT_EQ(Shown(), "[17 (5000) ] Text | ON LINE 0 | CALLSTACK: A.a");
    handler.lNumber(-2147467259);
    EXPECT_EQ(Shown(), "[-2147467259 (5000) ] Text | ON LINE 0 | CALLSTACK: A.a");
    handler.lNumber(5000);
    EXPECT_EQ(Shown(), "[5000] Text | ON LINE 0 | CALLSTACK: A.a");
}

TEST_F(ErrorHandler, ShowsAChangedDescription) {
    handler.Log(RuntimeError(5000, L"Text"), L"A", L"a");
    handler.sDescription(L"Neu");
    EXPECT_EQ(handler.sOriginalDescription(), L"Text");
    EXPECT_EQ(Shown(), "[5000] Neu | ON LINE 0 | CALLSTACK: A.a");
}

TEST_F(ErrorHandler, PutsATextBeforeTheDescription) {
    handler.Log(RuntimeError(5000, L"B"), L"A", L"a");
    handler.PrependDescription(L"A");
    EXPECT_EQ(handler.sDescription(), L"A: B");
    EXPECT_EQ(handler.sOriginalDescription(), L"B");
    EXPECT_EQ(RaisedBy([&] { handler.RaiseAgain(); }), (Raised{5000, L"A: B"}));
}

TEST_F(ErrorHandler, ForgetsAllButSourceAndLine) {
    handler.Log(RuntimeError(5000, L"Text", L"Quelle", 42), L"A", L"a");
    handler.Clear();
    EXPECT_EQ(handler.sOriginalDescription(), L"");
    EXPECT_EQ(handler.sDescription(), L"");
    EXPECT_EQ(handler.lOriginalNumber(), 0);
    EXPECT_EQ(handler.lNumber(), 0);
    EXPECT_EQ(handler.sSource(), L"Quelle");
    EXPECT_EQ(handler.lLine(), 42);
    EXPECT_EQ(Shown(), "[0]  | ON LINE 42 | CALLSTACK: ");
}

TEST_F(ErrorHandler, StartsOverAfterANumberOfZeroButKeepsTheFrames) {
    handler.Log(RuntimeError(0, L""), L"Kandora", L"StartProvider");
    EXPECT_EQ(Shown(), "[0]  | ON LINE 0 | CALLSTACK: Kandora.StartProvider");
    handler.Log(RuntimeError(13, L"Text", L"Quelle", 3), L"A", L"a");
    EXPECT_EQ(handler.lOriginalNumber(), 13);
    EXPECT_EQ(handler.sSource(), L"Quelle");
    EXPECT_EQ(Shown(), "[13] Text | ON LINE 3 | CALLSTACK: Kandora.StartProvider <- A.a");
}

TEST_F(ErrorHandler, HandsOutACopyOfTheFrames) {
    handler.Log(RuntimeError(5), L"A", L"a");
    const Variant before = handler.vasCallStack();
    handler.Log(RuntimeError(5), L"B", L"b");
    EXPECT_EQ(before.UpperBound(), 0);
    EXPECT_EQ(before.Element(0).ToText(), L"A.a");
    EXPECT_EQ(handler.vasCallStack().UpperBound(), 1);
    EXPECT_EQ(handler.vasCallStack().Element(1).ToText(), L"B.b");
    EXPECT_EQ(handler.vasCallStack().LowerBound(), 0);
}

TEST_F(ErrorHandler, TakesANewErrorForAFurtherOneUntilItIsCleared) {
    handler.Log(RuntimeError(5, L"Still"), L"CArchiv", L"AddDokument");
    handler.Log(RuntimeError(0), L"Kandora", L"StartProvider");
    EXPECT_EQ(Shown(), "[0 (5) ]  | ON LINE 0 | CALLSTACK: CArchiv.AddDokument <- Kandora.StartProvider");
    handler.Log(RuntimeError(9, L"Laut"), L"Kandora", L"SaveDocument");
    EXPECT_EQ(Shown(),
              "[9 (5) ] Laut | ON LINE 0 | CALLSTACK: CArchiv.AddDokument <- Kandora.StartProvider <- "
              "Kandora.SaveDocument");
    handler.Clear();
    handler.Log(RuntimeError(9, L"Laut"), L"Kandora", L"SaveDocument");
    EXPECT_EQ(Shown(), "[9] Laut | ON LINE 0 | CALLSTACK: Kandora.SaveDocument");
}

TEST_F(ErrorHandler, ForgetsTheOldestFramesWhenThereAreTooMany) {
    const auto log = [this](std::int32_t count) {
        for (std::int32_t i = 0; i < count; ++i) {
            handler.Log(RuntimeError(5 + i, L"Text"), L"A", L"Nr" + Decimal(i));
        }
    };
    log(CErrHandler::maximalFrames);
    EXPECT_EQ(handler.vasCallStack().UpperBound(), CErrHandler::maximalFrames - 1);
    EXPECT_EQ(handler.vasCallStack().Element(0).ToText(), L"A.Nr0");
    handler.Log(RuntimeError(91), L"B", L"last");
    const Variant frames = handler.vasCallStack();
    EXPECT_EQ(frames.UpperBound(), CErrHandler::maximalFrames / 2);
    EXPECT_EQ(frames.Element(0).ToText(), L"A.Nr" + Decimal(CErrHandler::maximalFrames / 2));
    EXPECT_EQ(frames.Element(frames.UpperBound()).ToText(), L"B.last");
    EXPECT_TRUE(Shown().starts_with("[91 (5) ] ")) << Shown();
    log(10 * CErrHandler::maximalFrames);
    EXPECT_LE(handler.vasCallStack().UpperBound(), CErrHandler::maximalFrames);
}

TEST_F(ErrorHandler, ShowsItselfInACriticalSystemModalBox) {
    handler.Log(RuntimeError(5000, L"Text"), L"A", L"a");
    handler.ShowError();
    ExpectConversation(talk, {R"(box "[5000] Text | ON LINE 0 | CALLSTACK: A.a" 4112 "Kandora")"});
    EXPECT_EQ(handler.lNumber(), 5000) << "showing forgets nothing";
}

class Convention : public ErrorHandler {
protected:
    int Innermost(bool fails) try {
        if (fails) {
            throw RuntimeError(5, L"Text", L"Woher", 9);
        }
        return 17;
    } catch (...) {
        RecordAndRaise(handler, {L"C", L"innermost"});
    }
    int Middle(bool fails) try { return Innermost(fails) + 1; } catch (...) {
        RecordAndRaise(handler, {L"B", L"middle"});
    }
    int Outer(bool fails) try { return Middle(fails); } catch (...) {
        ShowAndClear(handler, CurrentError(), {L"A", L"outer"});
        return -1;
    }
    void Foreign() try { throw std::bad_alloc(); } catch (...) {
        RecordAndRaise(handler, {L"B", L"inner"});
    }
};

TEST_F(Convention, PassesResultsThrough) {
    EXPECT_EQ(Outer(false), 18);
    EXPECT_TRUE(talk.Said().empty());
}

TEST_F(Convention, ShowsAnErrorOnceWithAllItsFramesAndForgetsIt) {
    EXPECT_EQ(Outer(true), -1);
    ExpectConversation(
        talk,
        {R"(box "[5] Text | ON LINE 9 | CALLSTACK: C.innermost <- B.middle <- A.outer" 4112 "Kandora")"});
    EXPECT_EQ(handler.lOriginalNumber(), 0);
    EXPECT_EQ(Shown(), "[0]  | ON LINE 9 | CALLSTACK: ");
}

TEST_F(Convention, RaisesTheSameNumberAndTextWithTheFramesAsSource) {
    const RuntimeError error = ErrorOf([&] { Middle(true); });
    EXPECT_EQ(error.Number(), 5);
    EXPECT_EQ(error.Description(), L"Text");
    EXPECT_EQ(error.Source(), L"C.innermost <- B.middle");
    EXPECT_EQ(handler.sSource(), L"Woher");
}

TEST_F(Convention, HoldsForForeignExceptionsToo) {
    const RuntimeError error = ErrorOf([&] { Foreign(); });
    EXPECT_EQ(error.Number(), 7);
    EXPECT_EQ(error.Description(), DescriptionOf(7));
    EXPECT_EQ(error.Source(), L"B.inner");
}

TEST_F(Convention, KeepsAnErrorAsideWhileOthersAreIgnored) {
    handler.Log(RuntimeError(5000, L"Text"), L"A", L"a");
    {
        const ErrorKeeper keeper(handler);
        handler.Clear();
        EXPECT_EQ(NumberRaisedBy([&] { Middle(true); }), 5);
    }
    EXPECT_EQ(Shown(), "[5000] Text | ON LINE 0 | CALLSTACK: A.a");
}

TEST(Assertion, RaisesOnlyWhatDoesNotHold) {
    EXPECT_EQ(NumberRaisedBy([] { Assert(true, L"nie", 5); }), 0);
    const RuntimeError error = ErrorOf([] { Assert(false, L"Dokument nicht gefunden: x", 5004); });
    EXPECT_EQ(error.Number(), 5004);
    EXPECT_EQ(error.Description(), L"Dokument nicht gefunden: x");
    EXPECT_EQ(error.Source(), L"");
}

}  // namespace
}  // namespace kandora::test
