// Conditions of #if and #elif: 32-bit integers, an operator-precedence evaluator with a stack of values and one of
// operators, so that parentheses nest as deep as memory goes. The text isn't expanded: a macro is looked up where its
// name stands as an operand, and its definition read as a number.
#include <UT/TextScan.h>
#include <UT/UT_IntArray.h>
#include <UT/UT_Path.h>
#include <UT/UT_Tarvani.h>
#include <preprocessor/CPP_ManagerWork.h>
#include <preprocessor/Words.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

namespace {

using cppwords::skipSpace;

constexpr std::size_t kMostName = 1024;     // characters of a name or a text in a condition
constexpr std::size_t kMostDefined = 4096;  // of the name that #ifdef looks up
constexpr std::size_t kMostRead = 4096;     // of a definition, since each name of a condition reads one anew
constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr int kDividedByZero = 1000;

enum class Op {
    And,
    Or,
    Equal,
    NotEqual,
    LessEqual,
    GreaterEqual,
    BitAnd,
    BitOr,
    BitXor,
    Less,
    Greater,
    Plus,
    Minus,
    Times,
    Over,
    Modulo,
    Not,
    Complement,
    Open,
    Close
};

struct Operator {
    Op op;
    std::string_view text;
    int precedence;  // the lower binds tighter
};

// Looked up from the front, so that one of two characters stands before the one that it begins with. There is no shift,
// no ?: and no sign: a minus in front of a digit belongs to the number.
constexpr Operator kOperators[] = {
    {Op::And, "&&", 7},       {Op::Or, "||", 7},           {Op::Equal, "==", 5},  {Op::NotEqual, "!=", 5},
    {Op::LessEqual, "<=", 4}, {Op::GreaterEqual, ">=", 4}, {Op::BitAnd, "&", 6},  {Op::BitOr, "|", 6},
    {Op::BitXor, "^", 6},     {Op::Less, "<", 4},          {Op::Greater, ">", 4}, {Op::Plus, "+", 3},
    {Op::Minus, "-", 3},      {Op::Times, "*", 2},         {Op::Over, "/", 2},    {Op::Modulo, "%", 2},
    {Op::Not, "!", 1},        {Op::Complement, "~", 1},    {Op::Open, "(", 9},    {Op::Close, ")", 0},
};

bool isSignedNumber(std::string_view text) {
    return text.size() > 1 && text[0] == '-' && textscan::isDigit(text[1]);
}

// The operator at the front of `text`, which isn't empty; null if there is none.
const Operator* operatorAt(std::string_view text) {
    if (cppwords::isPart(text[0]) || isSignedNumber(text)) return nullptr;
    for (const Operator& op : kOperators) {
        if (text.starts_with(op.text)) return &op;
    }
    return nullptr;
}

int wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

int resultOf(Op op, std::int64_t a, std::int64_t b) {
    switch (op) {
        case Op::And:
            return a != 0 && b != 0;
        case Op::Or:
            return a != 0 || b != 0;
        case Op::Equal:
            return a == b;
        case Op::NotEqual:
            return a != b;
        case Op::LessEqual:
            return a <= b;
        case Op::GreaterEqual:
            return a >= b;
        case Op::BitAnd:
            return wrapped(a & b);
        case Op::BitOr:
            return wrapped(a | b);
        case Op::BitXor:
            return wrapped(a ^ b);
        case Op::Less:
            return a < b;
        case Op::Greater:
            return a > b;
        case Op::Plus:
            return wrapped(a + b);
        case Op::Minus:
            return wrapped(a - b);
        case Op::Times:
            return wrapped(a * b);
        case Op::Over:
            return b == 0 ? kDividedByZero : wrapped(a / b);
        case Op::Modulo:
            return b == 0 ? 0 : wrapped(a % b);
        case Op::Not:
            return b == 0;
        case Op::Complement:
            return wrapped(~b & 0xFFFF);
        case Op::Open:
        case Op::Close:
            break;
    }
    return 0;
}

// Takes the digits at the front of `text` off and gives them.
template <class IsDigit>
std::string_view takeDigits(std::string_view& text, IsDigit isDigit) {
    std::size_t end = 0;
    while (end < text.size() && isDigit(text[end])) ++end;
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end);
    return taken;
}

// The number at the front of `text`, which is left behind it. A literal that is too large becomes the largest one.
int takeNumber(std::string_view& text) {
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    int base = 10;
    std::string_view digits;
    if (text.starts_with("0x")) {
        base = 16;
        text.remove_prefix(2);
        digits = takeDigits(text, [](char c) { return textscan::digitValue(c) < 16; });
    } else {
        if (text.starts_with('0')) base = 8;
        digits = takeDigits(text, textscan::isDigit);
    }
    std::int64_t value = 0;
    for (const char c : digits) {
        // An octal number ends at its first digit that isn't octal; the others are passed over.
        if (textscan::digitValue(c) >= base) break;
        value = std::min(value * base + textscan::digitValue(c), kHighest);
    }
    return static_cast<int>(negative ? -value : value);
}

// A name at the front of `text`, which is left behind it. None also if it is too long.
std::optional<std::string_view> takeName(std::string_view& text) {
    if (text.empty() || !cppwords::isStart(text[0])) return std::nullopt;
    const std::string_view name = text.substr(0, cppwords::endOf(text, 0));
    text.remove_prefix(name.size());
    return name.size() <= kMostName ? std::optional(name) : std::nullopt;
}

// A name, or a text in double quotes without them. None if a quote isn't closed, or if it is too long.
std::optional<std::string_view> takeArgument(std::string_view& text) {
    if (!text.starts_with('"')) return takeName(text);
    const std::size_t close = textscan::closingQuote(text, 0, textscan::QuoteRule::NotBehindBackslash);
    if (close == text.npos || close - 1 > kMostName) return std::nullopt;
    const std::string_view argument = text.substr(1, close - 1);
    text.remove_prefix(close + 1);
    return argument;
}

// One condition.
class Condition {
public:
    Condition(std::string_view text, const CPP_MacroTable& macros) : rest_(text), macros_(macros) {}

    // None for a syntax error.
    std::optional<bool> evaluate();

private:
    bool takeOperator(const Operator& op);
    bool applyTop();
    std::optional<int> takeOperand();
    std::optional<int> takeFunction(std::string_view name);
    std::optional<int> takeComparison();
    std::optional<int> valueOfMacro(std::string_view name) const;
    std::optional<std::string_view> compared(std::string_view argument) const;
    bool take(char c);

    std::string_view rest_;
    const CPP_MacroTable& macros_;
    UT_IntArray values_;
    UT_IntArray operators_;  // indexes of kOperators
    bool expectOperator_ = false;
};

std::optional<bool> Condition::evaluate() {
    if (rest_.empty()) return std::nullopt;
    for (rest_ = skipSpace(rest_); !rest_.empty(); rest_ = skipSpace(rest_)) {
        if (const Operator* const op = operatorAt(rest_)) {
            if (!takeOperator(*op)) return std::nullopt;
            rest_.remove_prefix(op->text.size());
        } else {
            if (expectOperator_) return std::nullopt;
            const std::optional<int> value = takeOperand();
            if (!value) return std::nullopt;
            values_.append(*value);
            expectOperator_ = true;
        }
    }
    while (!operators_.isEmpty()) {
        if (!applyTop()) return std::nullopt;
    }
    return !values_.isEmpty() && values_.last() != 0;
}

// Puts an operator on the stack, after those have been applied that bind as tightly or tighter. False if it can't stand
// here.
bool Condition::takeOperator(const Operator& op) {
    const int index = static_cast<int>(&op - kOperators);
    const bool isPrefix = op.op == Op::Not || op.op == Op::Complement;
    if (expectOperator_ == (isPrefix || op.op == Op::Open)) return false;
    if (op.op == Op::Open) {
        operators_.append(index);
    } else if (op.op == Op::Close) {
        while (!operators_.isEmpty() && kOperators[operators_.last()].op != Op::Open) applyTop();
        // It stands for a value now, and an operator is still due. Without a partner it is wrong.
        return operators_.removeAt(std::int64_t{operators_.entries()} - 1) >= 0;
    } else if (isPrefix) {
        values_.append(0);  // the left value, which it doesn't use
        operators_.append(index);
    } else {
        while (!operators_.isEmpty() && op.precedence >= kOperators[operators_.last()].precedence) applyTop();
        operators_.append(index);
        expectOperator_ = false;
    }
    return true;
}

// Applies the last operator of the stack to the last two values. False for a parenthesis, and if there are fewer.
bool Condition::applyTop() {
    const Op op = kOperators[operators_.last()].op;
    operators_.removeAt(std::int64_t{operators_.entries()} - 1);
    if (op == Op::Open || values_.entries() < 2) return false;
    const int right = values_.last();
    values_.removeAt(std::int64_t{values_.entries()} - 1);
    values_.last() = resultOf(op, values_.last(), right);
    return true;
}

std::optional<int> Condition::takeOperand() {
    if (textscan::isDigit(rest_[0]) || isSignedNumber(rest_)) return takeNumber(rest_);
    const std::optional<std::string_view> name = takeName(rest_);
    if (!name) return std::nullopt;
    for (const std::string_view function : {"defined", "environment", "access", "strcmp"}) {
        if (*name == function) return takeFunction(function);
    }
    return valueOfMacro(*name);
}

// A function behind its name. White space may stand everywhere but behind the opening parenthesis.
std::optional<int> Condition::takeFunction(std::string_view name) {
    if (!take('(')) return std::nullopt;
    std::optional<int> value;
    if (name == "strcmp") {
        value = takeComparison();
    } else if (name == "access") {
        const std::optional<std::string_view> argument = takeArgument(rest_);
        if (!argument) return std::nullopt;
        UT_String path(*argument);
        path.expandVariables();
        value = UTaccess(path.buffer(), 4) == 0;
    } else {
        const std::optional<std::string_view> argument = takeName(rest_);
        if (!argument) return std::nullopt;
        value = name == "defined" ? macros_.find(*argument) != nullptr
                                  : TarvaniGetenv(std::string(*argument).c_str()) != nullptr;
    }
    return take(')') ? value : std::nullopt;
}

std::optional<int> Condition::takeComparison() {
    const std::optional<std::string_view> first = takeArgument(rest_);
    if (!first || !take(',')) return std::nullopt;
    rest_ = skipSpace(rest_);
    const std::optional<std::string_view> second = takeArgument(rest_);
    if (!second) return std::nullopt;
    const std::optional<std::string_view> left = compared(*first), right = compared(*second);
    if (!left || !right) return std::nullopt;
    const int order = left->compare(*right);
    return (order > 0) - (order < 0);
}

// The definition of a macro as far as a condition reads it, without white space in front.
std::string_view frontOf(const CPP_Macro& macro) {
    return skipSpace(macro.getDefinitionView().substr(0, kMostRead));
}

// What strcmp compares for an argument: the first name or quoted text of the definition, if it names a macro and that
// begins with one. None if a quote in the definition isn't closed.
std::optional<std::string_view> Condition::compared(std::string_view argument) const {
    const CPP_Macro* const macro = macros_.find(argument);
    std::string_view definition = macro ? frontOf(*macro) : std::string_view();
    const bool begins = definition.starts_with('"') || (!definition.empty() && cppwords::isStart(definition[0]));
    return begins ? takeArgument(definition) : argument;
}

std::optional<int> Condition::valueOfMacro(std::string_view name) const {
    const CPP_Macro* const macro = macros_.find(name);
    if (!macro) return 0;
    const std::string_view definition = frontOf(*macro);
    return definition.empty() ? std::nullopt : std::optional(cppwords::leadingNumber(definition));
}

// Takes `c`, which may stand behind white space.
bool Condition::take(char c) {
    rest_ = skipSpace(rest_);
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
}

}  // namespace

int CPP_Manager::expression(std::string_view text) const {
    const std::optional<bool> value = Condition(text, *macros).evaluate();
    return value ? *value : -1;
}

bool CPP_Manager::isDefined(std::string_view operand) const {
    return macros->find(cppwords::firstWord(skipSpace(operand), kMostDefined)) != nullptr;
}
