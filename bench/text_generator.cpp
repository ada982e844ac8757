// Japanese sample text for the benchmark.

#include "text_generator.h"

#include <random>
#include <stdexcept>
#include <vector>

#include "text/cp932.h"

namespace ferrox::bench {

namespace {

// Only JIS X 0208 characters, so that every peer maps them the same way.
const char* const kSentences[] = {
    "今日は朝から雨が降っていたので、駅まで歩くのをやめてバスに乗った。",
    "変換したファイルは元の場所に保存され、古いファイルは念のため残しておく。",
    "会議の資料は金曜日までに全員へ送ってください。",
    "この表には東京、大阪、名古屋、福岡の四つの支店の売上が載っている。",
    "新しいプリンタの設定が終わらず、結局昼休みまでかかってしまった。",
    "彼女は毎朝六時に起きて、近所の公園を三十分ほど散歩する。",
    "Version 2.9 では改行コードの判定が速くなり、大きなファイルも扱える。",
    "図書館で借りた本の返却期限は来週の火曜日だ。",
    "山の上から見た夜景は、写真よりもずっと美しかった。",
    "ネットワークが切れたときは、もう一度接続してから送信ボタンを押す。",
    "味噌汁の具には豆腐とわかめと長ねぎを入れることにした。",
    "電車が遅れたため、約束の時間に十五分ほど遅れて到着した。",
    "ABC 社との打ち合わせは 3 月 14 日の午後 2 時からです。",
    "古い機械で作った文書を新しい環境で読むには、文字コードの変換が要る。",
    "祖父の家の庭には大きな柿の木があり、秋になると実がたくさん生る。",
    "このプログラムは一度に一つのファイルを読み、一区切りずつ書き出す。",
    "締め切りが近いので、今夜は遅くまで作業を続けるつもりだ。",
    "窓の外では子供たちが雪だるまを作って遊んでいる。",
    "外字を含む文書は、表に従って別の文字に置き換えられる。",
    "駅前の喫茶店は静かで、本を読むのにちょうどよい。",
    "旅行の計画を立てるために、地図と時刻表を机の上に広げた。",
    "週末は天気が崩れるらしいので、洗濯は今日のうちに済ませておこう。",
    "半角の英数字 ASCII と全角の漢字が一行に混ざることもよくある。",
    "研究室の棚には、誰も読まなくなった古い雑誌が積み上げられている。",
    "料理の腕を上げるには、まず包丁の使い方から覚えるのがよい。",
    "港に着いた船から、魚の入った箱が次々と降ろされていった。",
    "「おはようございます」と挨拶すると、隣の人も笑顔で答えてくれた。",
    "川沿いの桜並木は、四月の初めに満開を迎える。",
    "計算結果を確かめるため、同じ手順をもう一度最初から繰り返した。",
    "猫は日の当たる縁側で、気持ちよさそうに眠っている。",
    "【お知らせ】明日の点検のため、午前中はサーバを停止します。",
    "鉛筆と消しゴムと定規を筆箱に入れて、試験会場へ向かった。",
};

// Shift JIS pair to its JIS X 0208 pair.
void SjisToJis(std::uint8_t s1, std::uint8_t s2, std::uint8_t& j1, std::uint8_t& j2) {
  int row = s1 >= 0xE0 ? s1 - 0xC1 : s1 - 0x81;  // pairs of rows
  if (s2 >= 0x9F) {
    j1 = static_cast<std::uint8_t>(row * 2 + 0x22);
    j2 = static_cast<std::uint8_t>(s2 - 0x7E);
  } else {
    j1 = static_cast<std::uint8_t>(row * 2 + 0x21);
    j2 = static_cast<std::uint8_t>(s2 - (s2 >= 0x80 ? 0x20 : 0x1F));
  }
}

bool IsLead(std::uint8_t b) { return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC); }

// Re-encodes a Shift JIS sentence (ASCII and double-byte characters only).
std::string Encode(const std::string& sjis, Encoding encoding) {
  if (encoding == Encoding::kSjis) return sjis;
  std::string out;
  bool kanji = false;
  for (std::size_t k = 0; k < sjis.size(); ++k) {
    const auto b = static_cast<std::uint8_t>(sjis[k]);
    if (!IsLead(b)) {
      if (kanji) out += "\x1B(B";
      kanji = false;
      out += static_cast<char>(b);
      continue;
    }
    std::uint8_t j1 = 0;
    std::uint8_t j2 = 0;
    SjisToJis(b, static_cast<std::uint8_t>(sjis[++k]), j1, j2);
    if (encoding == Encoding::kEuc) {
      out += static_cast<char>(j1 | 0x80);
      out += static_cast<char>(j2 | 0x80);
    } else {
      if (!kanji) out += "\x1B$B";
      kanji = true;
      out += static_cast<char>(j1);
      out += static_cast<char>(j2);
    }
  }
  if (kanji) out += "\x1B(B";
  return out;
}

}  // namespace

Sample MakeSample(Encoding encoding, const std::string& lineEnd, std::size_t size,
                  std::uint32_t seed) {
  struct Sentence {
    std::string sjis;
    std::string encoded;
  };
  std::vector<Sentence> sentences;
  for (const char* text : kSentences) {
    const auto sjis = cp932::FromUtf8(text);
    if (!sjis) throw std::runtime_error("sample sentence without a CP932 form");
    sentences.push_back({*sjis, Encode(*sjis, encoding)});
  }
  std::mt19937 rng(seed);
  std::uniform_int_distribution<std::size_t> pick(0, sentences.size() - 1);
  std::uniform_int_distribution<int> perLine(1, 3);
  Sample sample;
  sample.input.reserve(size + 1024);
  sample.expected.reserve(size + size / 16);
  while (sample.input.size() < size) {
    for (int n = perLine(rng); n > 0; --n) {
      const Sentence& s = sentences[pick(rng)];
      sample.input += s.encoded;
      sample.expected += s.sjis;
    }
    sample.input += lineEnd;
    sample.expected += "\r\n";
  }
  return sample;
}

}  // namespace ferrox::bench
