// The portable order of names: what the simulated desktop's Apps tab uses, built to agree
// with Finder's order on Latin, Greek and Cyrillic names.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/Collation.h"

namespace quelto {
namespace {

using Names = std::vector<std::string>;

Names sorted(Names names) {
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return compareNamesPortably(a, b) < 0;
    });
    return names;
}

TEST(Collation, CaseDoesNotSeparateNames) {
    EXPECT_EQ(sorted({"zed", "Banana", "apple", "Cherry"}),
              (Names{"apple", "Banana", "Cherry", "zed"}));
}

TEST(Collation, AccentedLatinLettersSortWithTheirBaseLetters) {
    EXPECT_EQ(sorted({"Zed", "Äpfel", "Apple", "Ökonomie", "Orange", "éclair", "Eclipse"}),
              (Names{"Äpfel", "Apple", "éclair", "Eclipse", "Ökonomie", "Orange", "Zed"}));
    EXPECT_LT(compareNamesPortably("Çava", "Cider"), 0);
    EXPECT_LT(compareNamesPortably("Łódź", "Lyon"), 0);
    EXPECT_LT(compareNamesPortably("Straße", "Strasse2"), 0);  // ß is ss
    EXPECT_LT(compareNamesPortably("Ærø", "Afar"), 0);         // æ is ae
}

TEST(Collation, DecomposedAccentsSortLikeComposedOnes) {
    // "Äpfel" as a Mac file name often spells it: A and a combining diaeresis.
    const std::string decomposed = "A\xCC\x88pfel";
    EXPECT_EQ(sorted({"Zed", decomposed, "Apple"}), (Names{decomposed, "Apple", "Zed"}));
}

TEST(Collation, GreekFoldsCaseAndTonos) {
    EXPECT_EQ(sorted({"Ωμέγα", "άλφα", "Βήτα", "Άλφα", "αλφάβητο"}),
              (Names{"άλφα", "Άλφα", "αλφάβητο", "Βήτα", "Ωμέγα"}));
    EXPECT_LT(compareNamesPortably("Ελιά", "ζάχαρη"), 0);
}

TEST(Collation, CyrillicFoldsCaseAndYo) {
    EXPECT_EQ(sorted({"Яблоко", "ёлка", "Арбуз", "Ель", "жук", "Ёж"}),
              (Names{"Арбуз", "Ёж", "ёлка", "Ель", "жук", "Яблоко"}));
}

TEST(Collation, ScriptsFollowEachOtherLatinGreekCyrillic) {
    EXPECT_EQ(sorted({"Яблоко", "Ωμέγα", "Zed", "Άλφα", "Apple"}),
              (Names{"Apple", "Zed", "Άλφα", "Ωμέγα", "Яблоко"}));
}

TEST(Collation, NumbersCompareByValueAsInFinder) {
    EXPECT_EQ(sorted({"App 10", "App 2", "App 1", "App 02b"}),
              (Names{"App 1", "App 2", "App 02b", "App 10"}));
    EXPECT_LT(compareNamesPortably("2048", "Apple"), 0);  // digits before letters
    EXPECT_LT(compareNamesPortably("A B", "AB"), 0);      // a space before letters
}

TEST(Collation, TiesBreakTheSameWayEveryTime) {
    // Unaccented before accented, then lower case before upper case, then the bytes.
    EXPECT_LT(compareNamesPortably("apfel", "äpfel"), 0);
    EXPECT_LT(compareNamesPortably("apple", "Apple"), 0);
    EXPECT_GT(compareNamesPortably("Apple", "apple"), 0);
    EXPECT_EQ(compareNamesPortably("Apple", "Apple"), 0);
    EXPECT_NE(compareNamesPortably("A\xCC\x88pfel", "Äpfel"), 0);
    EXPECT_EQ(compareNamesPortably("A\xCC\x88pfel", "Äpfel"),
              -compareNamesPortably("Äpfel", "A\xCC\x88pfel"));
    Names names = {"b", "B", "á", "A", "a", "Á", "ä"};
    EXPECT_EQ(sorted(names), sorted(Names(names.rbegin(), names.rend())));
}

TEST(Collation, TextThatIsNotUtf8StillHasAnOrder) {
    const std::string broken = "App\xFF";
    EXPECT_LT(compareNamesPortably("App", broken), 0);
    EXPECT_GT(compareNamesPortably(broken, "App"), 0);
    EXPECT_EQ(compareNamesPortably(broken, broken), 0);
}

class ReversedCollation final : public Collation {
  public:
    int compareNames(const std::string& a, const std::string& b) override {
        ++calls;
        return compareNamesPortably(b, a);
    }
    int calls = 0;
};

TEST(Collation, TheGivenCollationsOrderIsUsedWhenThereIsOne) {
    EXPECT_LT(compareNames(nullptr, "Apple", "Zed"), 0);  // none: the portable order
    ReversedCollation reversed;
    EXPECT_GT(compareNames(&reversed, "Apple", "Zed"), 0);
    EXPECT_EQ(reversed.calls, 1);
}

}  // namespace
}  // namespace quelto
