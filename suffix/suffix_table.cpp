#include "suffix/suffix_table.h"

#include <array>
#include <string_view>

namespace ferrox {

void SuffixTable::Insert(std::size_t row, SuffixEntry entry) {
  if (row > RowCount()) row = RowCount();
  elements_.insert(elements_.begin() + static_cast<std::ptrdiff_t>(row), std::move(entry));
}

void SuffixTable::Erase(std::size_t row) {
  if (row >= RowCount()) return;
  elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(row));
}

namespace {

struct BuiltInRow {
  std::string_view extension, type, creator, description;
};

// Roughly in order of type code, not in the optimal order. The descriptions
// are data and are kept as they have always read.
constexpr std::array<BuiltInRow, 100> kBuiltInRows = {{
    {"sct", "..CT", "", "Scitex Continuous Tone Image"},
    {"sgi", ".SGI", "", "SGI Image"},
    {"wp", ".WP?", "WPC2", "WordPerfect Document"},
    {"psd", "8BPS", "", "Adobe Photo Shop Image"},
    {"svx", "8SVX", "", "Amiga IFF Sound Data"},
    {"p65", "AB65", "AK65", "PageMaker6.5 Publication"},
    {"dim", "AD3F", "AD3D", "Adobe Dimensions Data"},
    {"aifc", "AIFC", "", "AIFF Sound Data Compressed"},
    {"aif", "AIFF", "", "AIFF Sound Data"},
    {"al", "ALAW", "", "ALAW Sound Data"},
    {"pm3", "ALB3", "ALD3", "PageMaker3.0 Publication"},
    {"pm4", "ALB4", "ALK4", "PageMaker4.0 Publication"},
    {"pm5", "ALB5", "ALK5", "PageMaker5.0 Publication"},
    {"pm6", "ALB6", "ALK6", "PageMaker6.0 Publication"},
    {"pt3", "ALT3", "ALD3", "PageMaker3.0 Template"},
    {"pt4", "ALT4", "ALK4", "PageMaker4.0 Template"},
    {"pt5", "ALT5", "ALK5", "PageMaker5.0 Template"},
    {"pt6", "ALT6", "ALK6", "PageMaker6.0 Template"},
    {"sit", "APPL", "aust", "StuffIt Self extracting Archive"},
    {"t65", "AT65", "AK65", "PageMaker6.5 Template"},
    {"arj", "BINA", "", "ARJ Archive"},
    {"bmp", "BMP", "", "Windows Bitmap Image"},
    {"bga", "BMPp", "", "OS/2 Bitmap Image"},
    {"dcx", "DCXx", "", "Some PCX Images"},
    {"eps", "EPSF", "", "Adobe Illustrator EPSF Data"},
    {"aep", "EggP", "FXTC", "Adobe After Effects Data"},
    {"dir", "FGDM", "", "Macromedia Director Data"},
    {"fp5", "FMP?", "FMJ?", "FileMaker Data"},
    {"flm", "Film", "PrMr", "Adobe Premire Data"},
    {"gif", "GIFF", "", "GIFF Image"},
    {"gif", "GIFf", "", "GIFF Image"},
    {"tgz", "Gzip", "", "MacGzip Archive"},
    {"plt", "HPGL", "", "HP-GL Plotter Data"},
    {"icn", "ICO", "", "Windows Icon Data"},
    {"ief", "IEF", "", "IEF image"},
    {"sf", "IRCM", "", "IRCAM Sound Data"},
    {"jpg", "JPEG", "", "JPEG Image"},
    {"lzh", "LHA", "", "LHA Archive"},
    {"url", "LINK", "MSIE", "Microsoft IE Book Mark"},
    {"m1v", "M1V", "", "MPEG-1 Movie/Sound Data"},
    {"mcd", "MC?d", "CDP3", "VectorWorks / Mini-CAD Data"},
    {"dir", "MD??", "MV??", "Macromedia Director Data"},
    {"mp3", "MP3", "", "MPEG-3 Sound Data"},
    {"mpg", "MPEG", "", "MPEG Movie/Sound Data"},
    {"mpg", "MPG", "", "MPEG Movie/Sound Data"},
    {"m2v", "MPG2", "", "MPEG-2 Movie/Sound Data"},
    {"mid", "Midi", "", "MIDI Music Data"},
    {"mov", "MooV", "", "QuickTime Movie Data"},
    {"brc", "OBd4", "Bry?", "Metacreation Bryce2 Data"},
    {"pcd", "PCDI", "", "Photo CD Image"},
    {"pdf", "PDF", "", "Acrobat Document"},
    {"pct", "PICT", "", "PICT Image"},
    {"pgp", "PKey", "", "MacPGP PGP Key Ring Data"},
    {"rm", "PNRM", "", "RealPlayer Movie Data"},
    {"ppj", "PROJ", "PrMr", "Adobe Premire Project"},
    {"pub", "PUBF", "ALD2", "PageMaker2.0 Publication"},
    {"pxr", "PXR", "", "Pixar Image"},
    {"rif", "RIFF", "", "RIFF Graphic"},
    {"rle", "RLE", "", "RLE image"},
    {"bw", "SGI", "", "SGI Image"},
    {"sit", "SIT!", "", "Stuffit Archive"},
    {"sit", "SITD", "", "Stuffit Archive"},
    {"six", "SIXE", "", "SIXEL image"},
    {"ppt", "SLD?", "PPT3", "PowerPoint Publication"},
    {"fla", "SPA", "MFL?", "Macromedia Flash Data"},
    {"sun", "SUNn", "", "Sun Raster Image"},
    {"tar", "TARF", "", "SunTar Archive"},
    {"ai", "TEXT", "ART?", "Illustrator Docment"},
    {"", "TEXT", "CWIE", "CodeWarrior Document(.c .h .cpp .class)"},
    {"mif", "TEXT", "Fram", "FrameMaker MIF Data"},
    {"csv", "TEXT", "XCEL", "Microsoft Excel CSV Data"},
    {"txt", "TEXT", "", "Text Data"},
    {"tif", "TIFF", "", "TIFF Image"},
    {"tny", "TINY", "", "Atari TINY Bitmap Image"},
    {"tga", "TPIC", "", "Targa TGA Image"},
    {"au", "ULAW", "", "ULAW Sound Data"},
    {"vff", "VFFf", "", "DESR VFF Greyscale Image"},
    {"voc", "VOC", "", "VOC Sound Data"},
    {"avi", "VfW", "", "Video for Windows Movie Data"},
    {"wav", "WAVE", "", "Windows Wave Sound Data"},
    {"wmf", "WMF", "", "Windows Metafile"},
    {"wpm", "WPD1", "WPC2", "WordPerfect Macro"},
    {"wpg", "WPGf", "", "WordPerfect Graphic"},
    {"dot", "WTBN", "MSWD", "Microsoft Word Template"},
    {"doc", "W?BN", "MSWD", "Microsoft Word Docment"},
    {"xbm", "XBM", "", "X-Windows Bitmap"},
    {"xlc", "XLC*", "XCEL", "Microsoft Excel Chart"},
    {"xlm", "XLM*", "XCEL", "Microsoft Excel Macro"},
    {"xls", "XLS*", "XCEL", "Microsoft Excel Data"},
    {"xlw", "XLW*", "XCEL", "Microsoft Excel Workspace"},
    {"xpm", "XPM", "", "X-Windows Pixmap"},
    {"xpr", "XPRF", "EXPr", "Metacreation Expressions Data"},
    {"zip", "ZIP", "", "AIP Archive"},
    {"z", "ZIVU", "", "Unix Compress Archive"},
    {"zoo", "Zoo", "", "MacBooz Zoo Archive"},
    {"cvs", "drw?", "DAD?", "Canvas Drawing Data"},
    {"jpg", "jp2_", "", "QuickTime JPEG2 Image"},
    {"arc", "mArc", "", "PC ARChive"},
    {"pzr", "pzr2", "viOj", "Metacreation Poser Data"},
    {"txt", "ttro", "", "SimpleText Read Only Text Data"},
}};

}  // namespace

void SuffixTableDefault(SuffixTable& table) {
  // Put together in the file's own layout and parsed like a file, so that the
  // built-in table is exactly what loading that text would give.
  std::string text;
  text.reserve(kBuiltInRows.size() * 48);
  for (const BuiltInRow& row : kBuiltInRows) {
    text.append(row.extension).append("\t").append(row.type).append("\t");
    text.append(row.creator).append("\t").append(row.description).append("\r\n");
  }
  table.Clear();
  table.Reserve(200);
  SuffixTableParse(table, text);  // plain ASCII: CP932 and UTF-8 agree
  table.ShrinkToFit();
}

}  // namespace ferrox
