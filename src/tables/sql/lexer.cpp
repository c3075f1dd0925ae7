#include "tables/sql/lexer.h"

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "base/text.h"
#include "tables/sql/date_text.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// With the white space around it: an estimate that spares most growing of the list of tokens.
constexpr std::size_t kUsualTokenLength = 4;

constexpr bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

constexpr bool IsWordStart(wchar_t character) {
  return (character >= L'A' && character <= L'Z') || (character >= L'a' && character <= L'z') ||
         character == L'_' || character >= 0x80;
}

constexpr bool IsWordPart(wchar_t character) {
  return IsWordStart(character) || IsDigit(character);
}

constexpr bool IsWhite(wchar_t character) {
  return character == L' ' || character == L'\t' || character == L'\r' || character == L'\n';
}

struct DottedWord {
  std::wstring_view text;
  TokenKind kind;
  Value literal;
};

const std::array<DottedWord, 8>& DottedWords() {
  static const std::array<DottedWord, 8> words = {{
      {L".AND.", TokenKind::kAnd, {}},
      {L".OR.", TokenKind::kOr, {}},
      {L".NOT.", TokenKind::kNot, {}},
      {L".NULL.", TokenKind::kLiteral, Null{}},
      {L".T.", TokenKind::kLiteral, true},
      {L".Y.", TokenKind::kLiteral, true},
      {L".F.", TokenKind::kLiteral, false},
      {L".N.", TokenKind::kLiteral, false},
  }};
  return words;
}

struct Operator {
  std::wstring_view text;
  TokenKind kind;
};

// Longer ones first, so that the first match is the longest.
constexpr std::array kOperators = {
    Operator{L"==", TokenKind::kExactlyEqual},
    Operator{L"<>", TokenKind::kNotEqual},
    Operator{L"!=", TokenKind::kNotEqual},
    Operator{L"<=", TokenKind::kLessOrEqual},
    Operator{L">=", TokenKind::kGreaterOrEqual},
    Operator{L"=", TokenKind::kEqual},
    Operator{L"#", TokenKind::kNotEqual},
    Operator{L"<", TokenKind::kLess},
    Operator{L">", TokenKind::kGreater},
    Operator{L"!", TokenKind::kNot},
    Operator{L",", TokenKind::kComma},
    Operator{L".", TokenKind::kDot},
    Operator{L"(", TokenKind::kOpen},
    Operator{L")", TokenKind::kClose},
    Operator{L"*", TokenKind::kStar},
    Operator{L"+", TokenKind::kPlus},
    Operator{L"-", TokenKind::kMinus},
    Operator{L"/", TokenKind::kSlash},
};

class Lexer {
 public:
  explicit Lexer(std::wstring_view statement) : statement_(statement) {
    tokens_.reserve(statement.size() / kUsualTokenLength);
  }

  std::vector<Token> Run() {
    for (;;) {
      while (position_ < statement_.size() && IsWhite(statement_[position_])) ++position_;
      start_ = position_;
      if (position_ == statement_.size()) break;
      TakeToken();
    }
    Emit(TokenKind::kEnd);
    return std::move(tokens_);
  }

 private:
  [[nodiscard]] wchar_t At(std::size_t position) const {
    return position < statement_.size() ? statement_[position] : L'\0';
  }

  void Emit(TokenKind kind, Value literal = {}) {
    tokens_.push_back(
        {kind, start_, statement_.substr(start_, position_ - start_), std::move(literal)});
  }

  void TakeToken() {
    const wchar_t first = statement_[position_];
    if (IsWordStart(first)) return TakeWord();
    if (IsDigit(first) || (first == L'.' && IsDigit(At(position_ + 1)))) return TakeNumber();
    if (first == L'\'' || first == L'"') return TakeQuoted(first);
    if (first == L'[') return TakeBracketed();
    if (first == L'{') return TakeDate();
    if (const DottedWord* word = DottedWordAt(position_)) {
      position_ += word->text.size();
      return Emit(word->kind, word->literal);
    }
    TakeOperator();
  }

  void TakeWord() {
    while (IsWordPart(At(position_))) ++position_;
    Emit(TokenKind::kWord);
  }

  [[nodiscard]] const DottedWord* DottedWordAt(std::size_t position) const {
    if (At(position) != L'.') return nullptr;
    for (const DottedWord& word : DottedWords())
      if (EqualIgnoringCase(statement_.substr(position, word.text.size()), word.text)) return &word;
    return nullptr;
  }

  // The point of "0.AND." belongs to the operator.
  [[nodiscard]] bool AtDecimalPoint() const {
    return At(position_) == L'.' && DottedWordAt(position_) == nullptr;
  }

  void TakeDigits() {
    while (IsDigit(At(position_))) ++position_;
  }

  void TakeNumber() {
    TakeDigits();
    if (AtDecimalPoint()) {
      ++position_;
      TakeDigits();
    }
    const bool marker = ToUpper(At(position_)) == L'E';
    const bool is_signed = At(position_ + 1) == L'+' || At(position_ + 1) == L'-';
    if (marker && IsDigit(At(position_ + (is_signed ? 2 : 1)))) {
      position_ += is_signed ? 2 : 1;
      TakeDigits();
    }
    std::string digits;
    for (const wchar_t character : statement_.substr(start_, position_ - start_))
      digits.push_back(static_cast<char>(character));
    double number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc())
      throw StatementError(start_, L"the number " +
                                       Quoted(statement_.substr(start_, position_ - start_)) +
                                       L" is out of range");
    Emit(TokenKind::kLiteral, number);
  }

  // A quotation mark inside is written twice.
  void TakeQuoted(wchar_t quote) {
    std::wstring text;
    for (++position_;;) {
      const std::size_t end = statement_.find(quote, position_);
      if (end == std::wstring_view::npos) ThrowUnended(L"text", quote);
      text += statement_.substr(position_, end - position_);
      position_ = end + 1;
      if (At(position_) != quote) break;
      text.push_back(quote);
      ++position_;
    }
    Emit(TokenKind::kLiteral, std::move(text));
  }

  void TakeBracketed() {
    const std::size_t end = statement_.find(L']', position_);
    if (end == std::wstring_view::npos) ThrowUnended(L"text", L']');
    position_ = end + 1;
    Emit(TokenKind::kLiteral, std::wstring(statement_.substr(start_ + 1, end - start_ - 1)));
  }

  void TakeDate() {
    const std::size_t end = statement_.find(L'}', position_);
    if (end == std::wstring_view::npos) ThrowUnended(L"date", L'}');
    position_ = end + 1;
    std::optional<Value> date = ParseDateText(statement_.substr(start_ + 1, end - start_ - 1));
    if (!date)
      throw StatementError(start_, Quoted(statement_.substr(start_, position_ - start_)) +
                                       L" is not a date; write {MM-DD-YYYY} or {^YYYY-MM-DD}");
    Emit(TokenKind::kLiteral, std::move(*date));
  }

  void TakeOperator() {
    for (const Operator& candidate : kOperators) {
      if (statement_.substr(position_, candidate.text.size()) != candidate.text) continue;
      position_ += candidate.text.size();
      return Emit(candidate.kind);
    }
    throw StatementError(position_, L"the character " + Quoted(statement_.substr(position_, 1)) +
                                        L" has no meaning outside text");
  }

  [[noreturn]] void ThrowUnended(std::wstring_view what, wchar_t end) const {
    std::wstring text = L"the ";
    text += what;
    text += L" that begins here has no closing ";
    text += end;
    if (end == statement_[start_]) {
      text += L"; inside text write ";
      text += end;
      text += L" twice";
    }
    throw StatementError(start_, text);
  }

  std::wstring_view statement_;
  std::size_t position_ = 0;
  std::size_t start_ = 0;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> Tokenize(std::wstring_view statement) { return Lexer(statement).Run(); }

}  // namespace tdefault::tables::sql
