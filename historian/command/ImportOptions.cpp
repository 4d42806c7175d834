// The command line of historian import.
#include "Failure.h"
#include "Import.h"
#include "Text.h"

namespace historian::command {
namespace {

struct Words {
  std::string delimiter, decimal, encoding;
};

char DelimiterNamed(const std::string& name) {
  if (name == "comma") return ',';
  if (name == "semicolon") return ';';
  if (name == "tab" || name == "\\t") return '\t';
  if (name.size() == 1 && name[0] != '"' && name[0] != '\n') return name[0];
  throw Refusal("--delimiter: " + Quote(name) + " is neither comma, semicolon, tab nor one character");
}

void AddFileOptions(CommandLine& command, FileOptions& file, Words& words) {
  command.BeginGroup("What the file is, where it is not recognised");
  command
      .Add("--layout LAYOUT", file.shape, "wide: one column a tag; long: time, tag, value; jsonl: JSON lines")
      .OneOf({"wide", "long", "jsonl"});
  command.Add("--delimiter CHAR", words.delimiter, "comma, semicolon, tab or a character");
  command.Add("--decimal SIGN", words.decimal, "Decimal sign: point or comma").OneOf({"point", "comma"});
  command.Add("--encoding NAME", words.encoding, "utf-8, latin-1, utf-16, utf-16be")
      .OneOf({"utf-8", "latin-1", "utf-16", "utf-16be"});
  command.Add(
      "--time-format FORMAT", file.time_format,
      "iso, german (21.11.2026), us (11/21/2026), eu (21/11/2026), ymd (2026/11/21), month-name (21-Nov-2026), epoch, "
      "epoch-ms, excel (46347.861, days as spreadsheets count them), or a pattern: \"%d.%m.%Y %H:%M\"");
  command.Add("--time-column NAME", file.time_column, "Column of the time, by name or number");
  command.Add("--tag-column NAME", file.tag_column, "Column of the tag in a long file");
  command.Add("--value-column NAME", file.value_column, "Column of the value in a long file");
  command
      .Add("--columns NAMES", file.columns,
           "Names of the columns, for a file without a header row: time,TAG1,TAG2")
      .CommaSeparated();
  command.Add("--ignore NAMES", file.ignore, "Columns to skip, by name or number").CommaSeparated();
  command.Add("--skip-lines N", file.skip_lines, "Lines to skip before the header row");
  command
      .Add("--null WORDS", file.null_words,
           "Words for a sample without a value, besides NA, null, NaN, Bad, - and the like")
      .CommaSeparated();
  command.Add("--empty-is-null", file.empty_is_null, "An empty cell is a sample without a value [no sample]");
  command.Add("--truncate-times", file.truncate_times, "Cut times to milliseconds");
  command.EndGroup();
}

void Apply(const Words& words, FileOptions& file) {
  if (!words.delimiter.empty()) file.delimiter = DelimiterNamed(words.delimiter);
  if (!words.decimal.empty()) file.decimal = words.decimal == "comma" ? ',' : '.';
  if (!words.encoding.empty()) file.encoding = EncodingNamed(words.encoding);
  if (!file.time_format.empty()) TimeFormatNamed(file.time_format);
}

}  // namespace

Subcommand AddImport(CLI::App& program) {
  auto options = std::make_shared<ImportOptions>();
  auto words = std::make_shared<Words>();
  CommandLine command(program, "import", "Load samples from CSV or JSON lines");
  command.Add("FILE", options->files, "Files to load, also packed by gzip; - is standard input").Required();
  command.Add("--dry-run", options->dry_run, "Show what the files contain, store nothing; needs no server");
  command.Add("--skip-bad", options->skip_bad, "Skip rows that cannot be read, and list them");
  command.Add("--allow-drop", options->allow_drop, "Load samples even if the server's retention drops them");
  command.Add("--verify", options->verify,
              "Compare every sample with the store afterwards, to ten significant digits");
  command.Add("--connections N", options->connections, "Connections to load over [1]").Between(1, 16);
  AddFileOptions(command, options->file, *words);
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian import plant.csv --dry-run\n"
      "  historian import plant.csv --zone Europe/Berlin\n"
      "  historian import 2025.csv.gz 2026.csv.gz --skip-bad --database plant\n"
      "  zcat old.csv.gz | historian import - --columns time,tag,value");
  return {command.app(), [options, words](Terminal& terminal) {
            Apply(*words, options->file);
            return RunImport(*options, terminal);
          }};
}

}  // namespace historian::command
