// The catalogue against the published table: every listed row, the labels of
// the fit file, the generated run of IDs 75 to 298 and the lookup's bounds.
#include "tessarix/models/model_catalogue.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tessarix::detail {
namespace {

struct ListedRow {
  std::int32_t id;
  std::int32_t term_count;
  std::int32_t code;
  const char* definition;
  const char* description;
};

// ModelID, estimate term count, evaluation code, definition, description.
constexpr ListedRow kListedRows[] = {
    {1, 2, 1, "a*x+b", "First Order Polynomial"},
    {2, 3, 2, "a*x^2+b*x+c", "Second Order Polynomial"},
    {3, 4, 3, "a*x^3+b*x^2+c*x+d", "Third Order Polynomial"},
    {4, 5, 4, "a*x^4+b*x^3+c*x^2+d*x+e", "Fourth Order Polynomial"},
    {5, 6, 5, "a*x^5+b*x^4+c*x^3+d*x^2+e*x+f", "Fifth Order Polynomial"},
    {6, 7, 6, "a*x^6+b*x^5+c*x^4+d*x^3+e*x^2+f*x+g", "Sixth Order Polynomial"},
    {7, 8, 7, "a*x^7+b*x^6+c*x^5+d*x^4+e*x^3+f*x^2+g*x+h", "Seventh Order Polynomial"},
    {8, 9, 8, "a*x^8+b*x^7+c*x^6+d*x^5+e*x^4+f*x^3+g*x^2+h*x+i", "Eighth Order Polynomial"},
    {9, 10, 9, "a*x^9+b*x^8+c*x^7+d*x^6+e*x^5+f*x^4+g*x^3+h*x^2+i*x+j", "Ninth Order Polynomial"},
    {10, 11, 10, "a*x^10+b*x^9+c*x^8+d*x^7+e*x^6+f*x^5+g*x^4+h*x^3+i*x^2+j*x+k", "Tenth Order Polynomial"},
    {11, 2, 80, "a+b*log(x)", "First Order Logarithm"},
    {12, 3, 81, "a+b*log(x)+c*log(x)^2", "Second Order Logarithm"},
    {13, 4, 82, "a+b*log(x)+c*log(x)^2+d*log(x)^3", "Third Order Logarithm"},
    {14, 5, 83, "a+b*log(x)+c*log(x)^2+d*log(x)^3+e*log(x)^4", "Fourth Order Logarithm"},
    {15, 6, 84, "a+b*log(x)+c*log(x)^2+d*log(x)^3+e*log(x)^4+f*log(x)^5", "Fifth Order Logarithm"},
    {16, 2, 60, "a+b/x", "First Order Inverse Polynomial (Hyperbolic)"},
    {17, 3, 61, "a+b/x+c/x^2", "Second Order Inverse Polynomial"},
    {18, 4, 62, "a+b/x+c/x^2+d/x^3", "Third Order Inverse Polynomial"},
    {19, 5, 63, "a+b/x+c/x^2+d/x^3+e/x^4", "Fourth Order Inverse Polynomial"},
    {20, 6, 64, "a+b/x+c/x^2+d/x^3+e/x^4+f/x^5", "Fifth Order Inverse Polynomial"},
    {21, 2, 70, "a+b/log(x)", "First Order Inverse Logarithm"},
    {22, 3, 71, "a+b/log(x)+c/log(x)^2", "Second Order Inverse Logarithm"},
    {23, 4, 72, "a+b/log(x)+c/log(x)^2+d/log(x)^3", "Third Order Inverse Logarithm"},
    {24, 5, 73, "a+b/log(x)+c/log(x)^2+d/log(x)^3+e/log(x)^4", "Fourth Order Inverse Logarithm"},
    {25, 6, 74, "a+b/log(x)+c/log(x)^2+d/log(x)^3+e/log(x)^4+f/log(x)^5", "Fifth Order Inverse Logarithm"},
    {26, 1, 13, "log(x-a)", ""},
    {27, 1, 11, "1/(1+a*x)", ""},
    {28, 1, 12, "exp(x-a)", ""},
    {29, 1, 15, "x^a", ""},
    {30, 1, 16, "a^(1/x)", "Root Model"},
    {31, 1, 14, "1/(x+a)", ""},
    {32, 1, 17, "1-1/(x^a)", ""},
    {33, 2, 18, "log(a+b*x)", ""},
    {34, 2, 23, "a*x^b", "Power (Freundlich)"},
    {35, 2, 19, "a*b^x", "Modified Power"},
    {36, 2, 20, "a*exp(b*x)", "Exponential"},
    {37, 2, 21, "a*exp(b/x)", "Modified Exponential"},
    {38, 2, 22, "exp(a+b*x)", ""},
    {39, 2, 24, "a*b*x/(1+b*x)", "Rectangular Hyperbola"},
    {40, 2, 25, "x/(a*x+b)", ""},
    {41, 2, 26, "1/(a+b*x)", "Reciprocal Model (Shinozaki & Kira)"},
    {42, 2, 27, "a/(1+b*x)", ""},
    {43, 2, 28, "a*(x-b)", "Reparameterization of First Order Polynomial"},
    {44, 2, 29, "a*(1+x)^b", ""},
    {45, 2, 32, "a+b*log(x)", "Logarithm Model"},
    {46, 2, 33, "1/(a+b*log(x))", "Reciprocal Logarithm Model"},
    {47, 2, 35, "a*x^(b*x)", "Geometric Model"},
    {48, 2, 36, "a*x^(b/x)", "Modified Geometric Model"},
    {49, 2, 52, "a*x/(b+x)", "Saturation Growth Model"},
    {50, 2, 53, "a+b/x", "Hyperbolic Fit"},
    {51, 3, 37, "a*b^x*x^c", "Hoerl"},
    {52, 3, 38, "a*b^(1/x)*x^c", "Modified Hoerl"},
    {53, 3, 30, "1/(a+b*x+c*x^2)", "Reciprocal Quadratic (Holliday)"},
    {54, 3, 34, "exp(a+b/x+c*log(x))", "Vapor Pressure Model"},
    {55, 3, 54, "a+b*x+c/x^2", "Heat Capacity Model"},
    {56, 3, 31, "a/(1+b*x+c*x^2)", ""},
    {57, 2, 39, "cos(x+a)", "Trigonometric"},
    {58, 2, 40, "sin(x+a)", "Trigonometric II"},
    {59, 1, 41, "1-exp(-a*x^2)", ""},
    {60, 1, 42, "exp(-a*x^2)", ""},
    {61, 2, 43, "a*cos(x)+b*sin(x)", "Two Parameter"},
    {62, 3, 44, "x/(a+b*x-c*x^2)", ""},
    {63, 3, 45, "a+b*cos(x)+c*sin(x)", ""},
    {64, 3, 46, "exp(a+b*x+c*x^2)", ""},
    {65, 3, 47, "x/(a+b*x+c*sqr(x))", "Gunary Model"},
    {66, 3, 48, "a*x^b*exp(-c*x)", ""},
    {67, 3, 49, "x^a*exp(b-c*x)", ""},
    {68, 3, 50, "a*x^b*(1-x)^c", "Beta Distribution Model"},
    {69, 3, 51, "a*exp((-(x-b)^2)/(2*c^2))", "Gaussian (Normal) Distribution Model"},
    {70, 1, 55, "1-exp(-x^a)", ""},
    {71, 1, 56, "exp(-x^a)", ""},
    {72, 2, 57, "1-exp(-a*x^b)", ""},
    {73, 2, 58, "1-exp(-a*b^x)", ""},
    {74, 2, 59, "exp(-exp(a-b*x))", ""},
};

struct RunRow {
  std::int32_t id;
  const char* definition;
};

constexpr RunRow kRunRows[] = {
    {75, "a+b*x*log(x)"},
    {76, "a+b*x^1.5"},
    {77, "a+b*x^2"},
    {78, "a+b*x^2*log(x)"},
    {79, "a+b*x^2.5"},
    {80, "a+b*x^3"},
    {81, "a+b*exp(x)"},
    {82, "a+b*x^.5*log(x)"},
    {83, "a+b*log(x)^2"},
    {84, "a+b*x/log(x)"},
    {85, "a+b*x^.5"},
    {86, "a+b/x^.5"},
    {87, "a+b*log(x)/x"},
    {88, "a+b/x^1.5"},
    {89, "a+b*log(x)/x^2"},
    {90, "a+b/x^2"},
    {91, "a+b*exp(-x)"},
    {92, "a+b*x+c*x*log(x)"},
    {93, "a+b*x+c*x^1.5"},
    {94, "a+b*x+c*x^2*log(x)"},
    {95, "a+b*x+c*x^2.5"},
    {96, "a+b*x+c*x^3"},
    {97, "a+b*x+c*exp(x)"},
    {98, "a+b*x+c*x^.5*log(x)"},
    {99, "a+b*x+c*log(x)^2"},
    {100, "a+b*x+c*x/log(x)"},
    {101, "a+b*x+c*x^.5"},
    {102, "a+b*x+c*log(x)"},
    {103, "a+b*x+c/log(x)"},
    {104, "a+b*x+c/x^.5"},
    {105, "a+b*x+c*log(x)/x"},
    {106, "a+b*x+c/x"},
    {107, "a+b*x+c/x^1.5"},
    {108, "a+b*x+c*log(x)/x^2"},
    {109, "a+b*x+c*exp(-x)"},
    {110, "a+b*x*log(x)+c*x^1.5"},
    {111, "a+b*x*log(x)+c*x^2"},
    {112, "a+b*x*log(x)+c*x^2*log(x)"},
    {113, "a+b*x*log(x)+c*x^2.5"},
    {114, "a+b*x*log(x)+c*x^3"},
    {115, "a+b*x*log(x)+c*exp(x)"},
    {116, "a+b*x*log(x)+c*x^.5*log(x)"},
    {117, "a+b*x*log(x)+c*log(x)^2"},
    {118, "a+b*x*log(x)+c*x/log(x)"},
    {119, "a+b*x*log(x)+c*x^.5"},
    {120, "a+b*x*log(x)+c*log(x)"},
    {121, "a+b*x*log(x)+c/log(x)"},
    {122, "a+b*x*log(x)+c/x^.5"},
    {123, "a+b*x*log(x)+c*log(x)/x"},
    {124, "a+b*x*log(x)+c/x"},
    {125, "a+b*x*log(x)+c/x^1.5"},
    {126, "a+b*x*log(x)+c*log(x)/x^2"},
    {127, "a+b*x*log(x)+c/x^2"},
    {128, "a+b*x*log(x)+c*exp(-x)"},
    {129, "a+b*x^1.5+c*x^2"},
    {130, "a+b*x^1.5+c*x^2*log(x)"},
    {131, "a+b*x^1.5+c*x^2.5"},
    {132, "a+b*x^1.5+c*x^3"},
    {133, "a+b*x^1.5+c*exp(x)"},
    {134, "a+b*x^1.5+c*x^.5*log(x)"},
    {135, "a+b*x^1.5+c*log(x)^2"},
    {136, "a+b*x^1.5+c*x/log(x)"},
    {137, "a+b*x^1.5+c*x^.5"},
    {138, "a+b*x^1.5+c*log(x)"},
    {139, "a+b*x^1.5+c/log(x)"},
    {140, "a+b*x^1.5+c/x^.5"},
    {141, "a+b*x^1.5+c*log(x)/x"},
    {142, "a+b*x^1.5+c/x"},
    {143, "a+b*x^1.5+c/x^1.5"},
    {144, "a+b*x^1.5+c*log(x)/x^2"},
    {145, "a+b*x^1.5+c/x^2"},
    {146, "a+b*x^1.5+c*exp(-x)"},
    {147, "a+b*x^2+c*x^2*log(x)"},
    {148, "a+b*x^2+c*x^2.5"},
    {149, "a+b*x^2+c*x^3"},
    {150, "a+b*x^2+c*exp(x)"},
    {151, "a+b*x^2+c*x^.5*log(x)"},
    {152, "a+b*x^2+c*log(x)^2"},
    {153, "a+b*x^2+c*x/log(x)"},
    {154, "a+b*x^2+c*x^.5"},
    {155, "a+b*x^2+c*log(x)"},
    {156, "a+b*x^2+c/log(x)"},
    {157, "a+b*x^2+c/x^.5"},
    {158, "a+b*x^2+c*log(x)/x"},
    {159, "a+b*x^2+c/x"},
    {160, "a+b*x^2+c/x^1.5"},
    {161, "a+b*x^2+c*log(x)/x^2"},
    {162, "a+b*x^2+c/x^2"},
    {163, "a+b*x^2+c*exp(-x)"},
    {164, "a+b*x^2*log(x)+c*x^2.5"},
    {165, "a+b*x^2*log(x)+c*x^3"},
    {166, "a+b*x^2*log(x)+c*exp(x)"},
    {167, "a+b*x^2*log(x)+c*x^.5*log(x)"},
    {168, "a+b*x^2*log(x)+c*log(x)^2"},
    {169, "a+b*x^2*log(x)+c*x/log(x)"},
    {170, "a+b*x^2*log(x)+c*x^.5"},
    {171, "a+b*x^2*log(x)+c*log(x)"},
    {172, "a+b*x^2*log(x)+c/log(x)"},
    {173, "a+b*x^2*log(x)+c/x^.5"},
    {174, "a+b*x^2*log(x)+c*log(x)/x"},
    {175, "a+b*x^2*log(x)+c/x"},
    {176, "a+b*x^2*log(x)+c/x^1.5"},
    {177, "a+b*x^2*log(x)+c*log(x)/x^2"},
    {178, "a+b*x^2*log(x)+c/x^2"},
    {179, "a+b*x^2*log(x)+c*exp(-x)"},
    {180, "a+b*x^2.5+c*x^3"},
    {181, "a+b*x^2.5+c*exp(x)"},
    {182, "a+b*x^2.5+c*x^.5*log(x)"},
    {183, "a+b*x^2.5+c*log(x)^2"},
    {184, "a+b*x^2.5+c*x/log(x)"},
    {185, "a+b*x^2.5+c*x^.5"},
    {186, "a+b*x^2.5+c*log(x)"},
    {187, "a+b*x^2.5+c/log(x)"},
    {188, "a+b*x^2.5+c/x^.5"},
    {189, "a+b*x^2.5+c*log(x)/x"},
    {190, "a+b*x^2.5+c/x"},
    {191, "a+b*x^2.5+c/x^1.5"},
    {192, "a+b*x^2.5+c*log(x)/x^2"},
    {193, "a+b*x^2.5+c/x^2"},
    {194, "a+b*x^2.5+c*exp(-x)"},
    {195, "a+b*x^3+c*exp(x)"},
    {196, "a+b*x^3+c*x^.5*log(x)"},
    {197, "a+b*x^3+c*log(x)^2"},
    {198, "a+b*x^3+c*x/log(x)"},
    {199, "a+b*x^3+c*x^.5"},
    {200, "a+b*x^3+c*log(x)"},
    {201, "a+b*x^3+c/log(x)"},
    {202, "a+b*x^3+c/x^.5"},
    {203, "a+b*x^3+c*log(x)/x"},
    {204, "a+b*x^3+c/x"},
    {205, "a+b*x^3+c/x^1.5"},
    {206, "a+b*x^3+c*log(x)/x^2"},
    {207, "a+b*x^3+c/x^2"},
    {208, "a+b*x^3+c*exp(-x)"},
    {209, "a+b*exp(x)+c*x^.5*log(x)"},
    {210, "a+b*exp(x)+c*log(x)^2"},
    {211, "a+b*exp(x)+c*x/log(x)"},
    {212, "a+b*exp(x)+c*x^.5"},
    {213, "a+b*exp(x)+c*log(x)"},
    {214, "a+b*exp(x)+c/log(x)"},
    {215, "a+b*exp(x)+c/x^.5"},
    {216, "a+b*exp(x)+c*log(x)/x"},
    {217, "a+b*exp(x)+c/x"},
    {218, "a+b*exp(x)+c/x^1.5"},
    {219, "a+b*exp(x)+c*log(x)/x^2"},
    {220, "a+b*exp(x)+c/x^2"},
    {221, "a+b*exp(x)+c*exp(-x)"},
    {222, "a+b*x^.5*log(x)+c*log(x)^2"},
    {223, "a+b*x^.5*log(x)+c*x/log(x)"},
    {224, "a+b*x^.5*log(x)+c*x^.5"},
    {225, "a+b*x^.5*log(x)+c*log(x)"},
    {226, "a+b*x^.5*log(x)+c/log(x)"},
    {227, "a+b*x^.5*log(x)+c/x^.5"},
    {228, "a+b*x^.5*log(x)+c*log(x)/x"},
    {229, "a+b*x^.5*log(x)+c/x"},
    {230, "a+b*x^.5*log(x)+c/x^1.5"},
    {231, "a+b*x^.5*log(x)+c*log(x)/x^2"},
    {232, "a+b*x^.5*log(x)+c/x^2"},
    {233, "a+b*x^.5*log(x)+c*exp(-x)"},
    {234, "a+b*log(x)^2+c*x/log(x)"},
    {235, "a+b*log(x)^2+c*x^.5"},
    {236, "a+b*log(x)^2+c*log(x)"},
    {237, "a+b*log(x)^2+c/log(x)"},
    {238, "a+b*log(x)^2+c/x^.5"},
    {239, "a+b*log(x)^2+c*log(x)/x"},
    {240, "a+b*log(x)^2+c/x"},
    {241, "a+b*log(x)^2+c/x^1.5"},
    {242, "a+b*log(x)^2+c*log(x)/x^2"},
    {243, "a+b*log(x)^2+c/x^2"},
    {244, "a+b*log(x)^2+c*exp(-x)"},
    {245, "a+b*x/log(x)+c*x^.5"},
    {246, "a+b*x/log(x)+c*log(x)"},
    {247, "a+b*x/log(x)+c/log(x)"},
    {248, "a+b*x/log(x)+c/x^.5"},
    {249, "a+b*x/log(x)+c*log(x)/x"},
    {250, "a+b*x/log(x)+c/x"},
    {251, "a+b*x/log(x)+c/x^1.5"},
    {252, "a+b*x/log(x)+c*log(x)/x^2"},
    {253, "a+b*x/log(x)+c/x^2"},
    {254, "a+b*x/log(x)+c*exp(-x)"},
    {255, "a+b*x^.5+c*log(x)"},
    {256, "a+b*x^.5+c/log(x)"},
    {257, "a+b*x^.5+c/x^.5"},
    {258, "a+b*x^.5+c*log(x)/x"},
    {259, "a+b*x^.5+c/x"},
    {260, "a+b*x^.5+c/x^1.5"},
    {261, "a+b*x^.5+c*log(x)/x^2"},
    {262, "a+b*x^.5+c/x^2"},
    {263, "a+b*x^.5+c*exp(-x)"},
    {264, "a+b*log(x)+c/log(x)"},
    {265, "a+b*log(x)+c/x^.5"},
    {266, "a+b*log(x)+c*log(x)/x"},
    {267, "a+b*log(x)+c/x"},
    {268, "a+b*log(x)+c/x^1.5"},
    {269, "a+b*log(x)+c*log(x)/x^2"},
    {270, "a+b*log(x)+c/x^2"},
    {271, "a+b*log(x)+c*exp(-x)"},
    {272, "a+b/log(x)+c/x^.5"},
    {273, "a+b/log(x)+c*log(x)/x"},
    {274, "a+b/log(x)+c/x"},
    {275, "a+b/log(x)+c/x^1.5"},
    {276, "a+b/log(x)+c*log(x)/x^2"},
    {277, "a+b/log(x)+c/x^2"},
    {278, "a+b/log(x)+c*exp(-x)"},
    {279, "a+b/x^.5+c*log(x)/x"},
    {280, "a+b/x^.5+c/x"},
    {281, "a+b/x^.5+c/x^1.5"},
    {282, "a+b/x^.5+c*log(x)/x^2"},
    {283, "a+b/x^.5+c/x^2"},
    {284, "a+b/x^.5+c*exp(-x)"},
    {285, "a+b*log(x)/x+c/x"},
    {286, "a+b*log(x)/x+c/x^1.5"},
    {287, "a+b*log(x)/x+c*log(x)/x^2"},
    {288, "a+b*log(x)/x+c/x^2"},
    {289, "a+b*log(x)/x+c*exp(-x)"},
    {290, "a+b/x+c/x^1.5"},
    {291, "a+b/x+c*log(x)/x^2"},
    {292, "a+b/x+c*exp(-x)"},
    {293, "a+b/x^1.5+c*log(x)/x^2"},
    {294, "a+b/x^1.5+c/x^2"},
    {295, "a+b/x^1.5+c*exp(-x)"},
    {296, "a+b*log(x)/x^2+c/x^2"},
    {297, "a+b*log(x)/x^2+c*exp(-x)"},
    {298, "a+b/x^2+c*exp(-x)"},
};

TEST(ModelCatalogue, ListedRowsMatchTheTable) {
  for (const ListedRow& row : kListedRows) {
    SCOPED_TRACE(row.id);
    const InternalModelEntry* e = FindInternalModel(row.id);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->definition, row.definition);
    EXPECT_EQ(e->description, row.description);
    EXPECT_EQ(e->estimate_term_count, row.term_count);
    EXPECT_EQ(e->evaluation_code, row.code);
    if (row.id < 6 || row.id > 25) {
      EXPECT_EQ(e->file_label, row.definition);
    }
  }
}

TEST(ModelCatalogue, GeneratedRunMatchesEveryListedRow) {
  ASSERT_EQ(std::size(kRunRows), 224u);
  for (const RunRow& row : kRunRows) {
    SCOPED_TRACE(row.id);
    const InternalModelEntry* e = FindInternalModel(row.id);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->definition, row.definition);
    EXPECT_EQ(e->description, "");
    EXPECT_EQ(e->file_label, row.definition);
    EXPECT_EQ(e->evaluation_code, row.id + 15);
    EXPECT_EQ(e->estimate_term_count, row.id <= 91 ? 2 : 3);
    EXPECT_EQ(ParameterCountOfCode(e->evaluation_code), e->estimate_term_count);
  }
}

TEST(ModelCatalogue, FileLabelsOfTheFamilies) {
  EXPECT_EQ(FindInternalModel(5)->file_label, "a*x^5+b*x^4+c*x^3+d*x^2+e*x+f");
  EXPECT_EQ(FindInternalModel(6)->file_label, "Sixth order polynomial");
  EXPECT_EQ(FindInternalModel(10)->file_label, "Tenth order polynomial");
  EXPECT_EQ(FindInternalModel(11)->file_label, "First order logarithm");
  EXPECT_EQ(FindInternalModel(15)->file_label, "Fifth order logarithm");
  // The bracketed "(Hyperbolic)" of the description is not in the label.
  EXPECT_EQ(FindInternalModel(16)->file_label, "First order inverse polynomial");
  EXPECT_EQ(FindInternalModel(20)->file_label, "Fifth order inverse polynomial");
  EXPECT_EQ(FindInternalModel(21)->file_label, "First order inverse logarithm");
  EXPECT_EQ(FindInternalModel(25)->file_label, "Fifth order inverse logarithm");
  EXPECT_EQ(FindInternalModel(26)->file_label, "log(x-a)");
}

TEST(ModelCatalogue, SameTextDifferentEntries) {
  // IDs 11 and 45, 16 and 50: one definition, two models.
  EXPECT_EQ(FindInternalModel(11)->definition, FindInternalModel(45)->definition);
  EXPECT_NE(FindInternalModel(11)->evaluation_code, FindInternalModel(45)->evaluation_code);
  EXPECT_NE(FindInternalModel(11)->description, FindInternalModel(45)->description);
  EXPECT_NE(FindInternalModel(11)->file_label, FindInternalModel(45)->file_label);
  EXPECT_EQ(FindInternalModel(16)->definition, FindInternalModel(50)->definition);
  EXPECT_NE(FindInternalModel(16)->evaluation_code, FindInternalModel(50)->evaluation_code);
}

TEST(ModelCatalogue, IdsCodesAndParameterCounts) {
  EXPECT_EQ(FindInternalModel(0), nullptr);
  EXPECT_EQ(FindInternalModel(-1), nullptr);
  EXPECT_EQ(FindInternalModel(299), nullptr);
  // Every code is used once; the unused ones belong to no model.
  std::set<std::int32_t> codes;
  for (std::int32_t id = 1; id <= 298; ++id) {
    const std::int32_t code = FindInternalModel(id)->evaluation_code;
    EXPECT_TRUE(codes.insert(code).second) << "code " << code << " twice";
  }
  EXPECT_EQ(codes.size(), 298u);
  for (std::int32_t code : {0, 65, 69, 75, 79, 85, 89, 314, -3}) {
    EXPECT_EQ(codes.count(code), 0u);
    EXPECT_EQ(ParameterCountOfCode(code), 0);
  }
  // The trigonometric pair: two estimator terms, one parameter.
  EXPECT_EQ(FindInternalModel(57)->estimate_term_count, 2);
  EXPECT_EQ(ParameterCountOfCode(39), 1);
  EXPECT_EQ(ParameterCountOfCode(40), 1);
  EXPECT_EQ(ParameterCountOfCode(10), 11);
}

}  // namespace
}  // namespace tessarix::detail
