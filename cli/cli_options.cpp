#include "cli/cli_options.h"

#include <array>
#include <charconv>
#include <limits>

#include "cli/cli_text.h"

namespace ferrox::cli {

namespace {

template <typename T>
bool ParseNumber(const std::string& text, T& value) {
  long long n = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, n);
  if (ec != std::errc() || ptr != end) return false;
  if (n < static_cast<long long>(std::numeric_limits<T>::min()) ||
      n > static_cast<long long>(std::numeric_limits<T>::max())) {
    return false;
  }
  value = static_cast<T>(n);
  return true;
}

// A whole settings field from a number.
template <auto Field>
bool SetNumber(Arguments& a, const std::string& text, std::string& error) {
  using T = std::remove_reference_t<decltype(std::declval<ConversionSettings&>().*Field)>;
  T value{};
  if (!ParseNumber(text, value)) {
    error = std::string(Tr("invalid number: '", "数値が不正です: '")) + text + "'";
    return false;
  }
  a.edits.emplace_back([value](ConversionSettings& s) { s.*Field = value; });
  return true;
}

// Bits of ConvMode or FileMode: `set` is set and `clear` cleared, whatever the word held.
template <auto Word, std::uint16_t Set, std::uint16_t Clear = 0>
bool SetBits(Arguments& a, const std::string&, std::string&) {
  a.edits.emplace_back([](ConversionSettings& s) {
    s.*Word = static_cast<std::uint16_t>((s.*Word & ~Clear) | Set);
  });
  return true;
}
template <std::uint16_t Set, std::uint16_t Clear = 0>
constexpr auto kConv = &SetBits<&ConversionSettings::ConvMode, Set, Clear>;
template <std::uint16_t Set, std::uint16_t Clear = 0>
constexpr auto kFile = &SetBits<&ConversionSettings::FileMode, Set, Clear>;

bool ChkSize(Arguments& a, const std::string& text, std::string& error) {
  a.chkSizeGiven = true;
  return SetNumber<&ConversionSettings::ChkSize>(a, text, error);
}

bool FncChar(Arguments& a, const std::string& text, std::string&) {
  a.fncCharGiven = true;
  a.edits.emplace_back([text](ConversionSettings& s) { s.FNCChar = text; });
  return true;
}

bool GaijiTable(Arguments& a, const std::string& text, std::string&) {
  a.gaijiTableGiven = true;
  a.edits.emplace_back([text](ConversionSettings& s) { s.GaijiTable = text; });
  return true;
}

bool Text(Arguments& a, const std::string&, std::string&) { return a.text = true, true; }
bool NoText(Arguments& a, const std::string&, std::string&) { return a.text = false, true; }
bool Cut(Arguments& a, const std::string&, std::string&) { return a.cut = true, true; }
bool NoCut(Arguments& a, const std::string&, std::string&) { return a.cut = false, true; }
bool Flags(Arguments& a, const std::string&, std::string&) { return a.flagsOnly = true, true; }
bool Json(Arguments& a, const std::string&, std::string&) { return a.json = true, true; }
bool Force(Arguments& a, const std::string&, std::string&) { return a.force = true, true; }
bool Changes(Arguments& a, const std::string& text, std::string&) { return a.changes = text, true; }

using conv_mode::kAppendEof;
using conv_mode::kFncChar;
using conv_mode::kFull;
using conv_mode::kGaijiAsChar;
using conv_mode::kGaijiTable;
using conv_mode::kMacJapaneseAny;
using conv_mode::kNoMacJapanese;
using conv_mode::kNoUtf8;
using conv_mode::kOldTieRule;
using file_mode::kBackup;
using file_mode::kDeleteInput;
using file_mode::kFolderSelect;
using file_mode::kMacDates;
using file_mode::kMacNames;
using file_mode::kResourceForks;
using file_mode::kTrash;
using file_mode::kUnknownName;
using enum OptionTopic;
constexpr Command kAny = Command::kHelp;

constexpr std::array kOptions = {
    OptionSpec{"--conv-mode", "N", kSettings, kAny, "the ConvMode flag word (the options below name its bits)",
               "ConvMode のフラグ値 (各ビットは下の個別オプションでも指定可)", &SetNumber<&ConversionSettings::ConvMode>},
    OptionSpec{"--file-mode", "N", kSettings, kAny, "the FileMode flag word (the options below name its bits)",
               "FileMode のフラグ値 (各ビットは下の個別オプションでも指定可)", &SetNumber<&ConversionSettings::FileMode>},
    OptionSpec{"--line-size", "N", kSettings, kAny, "fold lines at N bytes (0 = no folding)",
               "N バイトで行を折り返す (0 = 折り返さない)", &SetNumber<&ConversionSettings::LineSize>},
    OptionSpec{"--chk-size", "N", kSettings, kAny, "bytes surveyed: at least 100, or 0 for the whole file",
               "調査するバイト数: 100 以上、0 でファイル全体", &ChkSize},
    OptionSpec{"--bin-rate", "N", kSettings, kAny, "percent of binary bytes tolerated in text",
               "テキストに許すバイナリーデータの割合 (％)", &SetNumber<&ConversionSettings::BinRate>},
    OptionSpec{"--fnc-char", "CHAR", kSettings, kAny, "substitute for characters not allowed in file names",
               "ファイル名に使えない文字の置換文字", &FncChar},
    OptionSpec{"--gaiji-table", "PATH", kSettings, kAny, "the gaiji table file", "外字テーブルのファイル",
               &GaijiTable},

    OptionSpec{"--eof", "", kConvMode, kAny, "append one EOF byte (0x1A) to converted text (1)",
               "変換したテキストの終端に EOF (0x1A) を付ける (1)", kConv<kAppendEof>},
    OptionSpec{"--no-eof", "", kConvMode, kAny, "no EOF byte at the end", "EOF を付けない", kConv<0, kAppendEof>},
    OptionSpec{"--fnc-fixed", "", kConvMode, kAny,
               "characters not allowed in file names become the --fnc-char substitute (2)",
               "ファイル名に使えない文字を置換文字にする (2)", kConv<kFncChar>},
    OptionSpec{"--no-fnc-fixed", "", kConvMode, kAny, "... become their full-width forms",
               "ファイル名に使えない文字を全角文字にする", kConv<0, kFncChar>},
    OptionSpec{"--jis-euc", "", kConvMode, kAny, "recognise JIS and EUC: the full survey and converter (4)",
               "JIS/EUC を認識する: 完全な調査と変換 (4)", kConv<kFull>},
    OptionSpec{"--no-jis-euc", "", kConvMode, kAny, "Shift JIS only: the light survey and converter",
               "シフトJIS のみ: 軽い調査と変換", kConv<0, kFull>},
    OptionSpec{"--gaiji-chars", "", kConvMode, kAny, "gaiji and machine-dependent characters are characters (8)",
               "外字と機種依存文字を文字として扱う (8)", kConv<kGaijiAsChar>},
    OptionSpec{"--no-gaiji-chars", "", kConvMode, kAny, "... are not", "外字を文字として扱わない",
               kConv<0, kGaijiAsChar>},
    OptionSpec{"--gaiji-table-replace", "", kConvMode, kAny, "replace gaiji through the gaiji table (16)",
               "外字を外字テーブルで置き換える (16)", kConv<kGaijiTable>},
    OptionSpec{"--no-gaiji-table-replace", "", kConvMode, kAny, "leave gaiji as they are",
               "外字テーブルを使わない", kConv<0, kGaijiTable>},
    OptionSpec{"--no-utf8", "", kConvMode, kAny, "do not recognise UTF-8 text (32)", "UTF-8 を認識しない (32)",
               kConv<kNoUtf8>},
    OptionSpec{"--utf8", "", kConvMode, kAny, "recognise UTF-8 text", "UTF-8 を認識する", kConv<0, kNoUtf8>},
    OptionSpec{"--mac-japanese", "", kConvMode, kAny, "read all Shift JIS text as Mac Japanese (64)",
               "すべてのシフトJIS テキストを Mac の日本語として変換する (64)",
               kConv<kMacJapaneseAny, kNoMacJapanese>},
    OptionSpec{"--no-mac-japanese", "", kConvMode, kAny, "no Mac Japanese mapping at all (128)",
               "Mac の日本語の変換をしない (128)", kConv<kNoMacJapanese, kMacJapaneseAny>},
    OptionSpec{"--mac-japanese-auto", "", kConvMode, kAny,
               "... only for text known to come from a Mac (wrapper or AppleDouble with a creator)",
               "Mac から来たと分かるテキストだけ Mac の日本語として変換する",
               kConv<0, kMacJapaneseAny | kNoMacJapanese>},
    OptionSpec{"--plain-ties", "", kConvMode, kAny,
               "Shift JIS/EUC ties by the plain rule: the first code seen, else the longer run (256)",
               "シフトJIS/EUC の判定が付かない時は単純な規則で決める (256)", kConv<kOldTieRule>},
    OptionSpec{"--no-plain-ties", "", kConvMode, kAny, "... decided as real Japanese text reads",
               "判定が付かない時は実際の日本語の文から決める", kConv<0, kOldTieRule>},

    OptionSpec{"--backup", "", kFileMode, kAny, "keep an old output as .bak (1)", "古い出力を .bak として残す (1)",
               kFile<kBackup, kTrash>},
    OptionSpec{"--trash", "", kFileMode, kAny, "send an old output to the trash (128)",
               "古い出力をゴミ箱へ移す (128)", kFile<kTrash, kBackup>},
    OptionSpec{"--replace", "", kFileMode, kAny, "replace an old output", "古い出力を置き換える",
               kFile<0, kBackup | kTrash>},
    OptionSpec{"--mac-dates", "", kFileMode, kAny, "MacBinary input: the output gets the Mac dates (4)",
               "MacBinary の入力では出力に Mac の日時を付ける (4)", kFile<kMacDates>},
    OptionSpec{"--no-mac-dates", "", kFileMode, kAny, "... keeps the input file's own times",
               "入力ファイルの日時を付ける", kFile<0, kMacDates>},
    OptionSpec{"--walk", "", kFileMode, kAny, "a folder may be the input; subfolders are walked (16)",
               "フォルダを入力にでき、サブフォルダも変換する (16)", kFile<kFolderSelect>},
    OptionSpec{"--no-walk", "", kFileMode, kAny, "folders are not converted", "フォルダは変換しない",
               kFile<0, kFolderSelect>},
    OptionSpec{"--unknown-type-names", "", kFileMode, kAny,
               "a Mac file of unknown type is named name(creator).type (64)",
               "未登録のタイプの Mac ファイルを 名前(クリエータ).タイプ とする (64)", kFile<kUnknownName>},
    OptionSpec{"--no-unknown-type-names", "", kFileMode, kAny, "... keeps its Mac name alone",
               "Mac の名前だけにする", kFile<0, kUnknownName>},
    OptionSpec{"--delete-input", "", kFileMode, kAny, "delete each input after it converted (256)",
               "変換できた入力ファイルを削除する (256)", kFile<kDeleteInput>},
    OptionSpec{"--keep-input", "", kFileMode, kAny, "keep the inputs", "入力ファイルを残す", kFile<0, kDeleteInput>},
    OptionSpec{"--mac-names", "", kFileMode, kAny, "folder and wildcard runs name Mac files by their Mac name (512)",
               "フォルダ/ワイルドカードの変換でも Mac ファイルに Mac の名前を付ける (512)", kFile<kMacNames>},
    OptionSpec{"--no-mac-names", "", kFileMode, kAny, "... keep the input's name",
               "入力ファイルの名前のままにする", kFile<0, kMacNames>},
    OptionSpec{"--resource-forks", "", kFileMode, kAny, "keep resource forks as AppleDouble ._ files (1024)",
               "リソースフォークを AppleDouble の ._ ファイルとして残す (1024)", kFile<kResourceForks>},
    OptionSpec{"--no-resource-forks", "", kFileMode, kAny, "drop resource forks", "リソースフォークを残さない",
               kFile<0, kResourceForks>},

    OptionSpec{"--text", "", kCommand, kAny, "convert the text of every file",
               "すべてのファイルのテキストを変換する", &Text},
    OptionSpec{"--no-text", "", kCommand, kAny, "convert no text", "テキストを変換しない", &NoText},
    OptionSpec{"--cut", "", kCommand, kAny, "strip MacBinary wrappers from every file",
               "すべてのファイルの MacBinary を外す", &Cut},
    OptionSpec{"--no-cut", "", kCommand, kAny,
               "strip none (without these four, each file's survey decides)",
               "MacBinary を外さない (この 4 つが無ければファイルごとの調査で決まる)", &NoCut},
    OptionSpec{"--force", "", kCommand, Command::kConvert, "write binary output to a terminal all the same",
               "バイナリーの出力でも端末に書く", &Force},
    OptionSpec{"--changes", "FILE", kCommand, Command::kConvert,
               "write every byte dropped or replaced as a TSV row: path, offset, kind, input, output",
               "削除・置換したバイトを 1 つずつ TSV の行に書く: パス、位置、種類、入力、出力", &Changes},
    OptionSpec{"--flags", "", kCommand, Command::kSurvey,
               "survey: one line instead of the report: the result code and the flag word",
               "survey: 調査結果の代わりに 1 行: 結果コードとフラグ値", &Flags},
    OptionSpec{"--json", "", kCommand, Command::kSurvey, "survey: one JSON object per file, for scripts",
               "survey: ファイルごとに JSON のオブジェクト 1 つ (スクリプト用)", &Json},
};

}  // namespace

std::span<const OptionSpec> Options() { return kOptions; }

const OptionSpec* FindOption(std::string_view name) {
  for (const OptionSpec& option : kOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

}  // namespace ferrox::cli
