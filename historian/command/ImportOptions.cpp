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

void AddFileOptions(CLI::App& app, FileOptions& file, Words& words) {
  const char* group = "What the file is, where it is not recognised";
  const auto add = [&](const char* name, auto& value, const char* help, const char* text) {
    return app.add_option(name, value, help)->option_text(text)->group(group);
  };
  add("--layout", file.shape, "wide: one column a tag; long: time, tag, value; jsonl: JSON lines", "LAYOUT")
      ->check(CLI::IsMember({"wide", "long", "jsonl"}));
  add("--delimiter", words.delimiter, "comma, semicolon, tab or a character", "CHAR");
  add("--decimal", words.decimal, "Decimal sign: point or comma", "SIGN")
      ->check(CLI::IsMember({"point", "comma"}));
  add("--encoding", words.encoding, "utf-8, latin-1, utf-16, utf-16be", "NAME")
      ->check(CLI::IsMember({"utf-8", "latin-1", "utf-16", "utf-16be"}));
  add("--time-format", file.time_format,
      "iso, german (21.11.2026), us (11/21/2026), eu (21/11/2026), ymd (2026/11/21), month-name (21-Nov-2026), epoch, "
      "epoch-ms, excel (46347.861, days as spreadsheets count them), or a pattern: \"%d.%m.%Y %H:%M\"",
      "FORMAT");
  add("--time-column", file.time_column, "Column of the time, by name or number", "NAME");
  add("--tag-column", file.tag_column, "Column of the tag in a long file", "NAME");
  add("--value-column", file.value_column, "Column of the value in a long file", "NAME");
  add("--columns", file.columns, "Names of the columns, for a file without a header row: time,TAG1,TAG2",
      "NAMES")
      ->delimiter(',');
  add("--ignore", file.ignore, "Columns to leave out, by name or number", "NAMES")->delimiter(',');
  add("--skip-lines", file.skip_lines, "Lines to leave out before the header row", "N");
  add("--null", file.null_words,
      "Words for a sample without a value, besides NA, null, NaN, Bad, - and the like", "WORDS")
      ->delimiter(',');
  app.add_flag("--empty-is-null", file.empty_is_null, "An empty cell is a sample without a value [no sample]")
      ->group(group);
  app.add_flag("--truncate-times", file.truncate_times, "Cut times to milliseconds")->group(group);
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
  CLI::App* app = program.add_subcommand("import", "Load samples from CSV or JSON lines");
  app->add_option("FILE", options->files, "Files to load, also packed by gzip; - is standard input")
      ->required()
      ->option_text(" ");
  app->add_flag("--dry-run", options->dry_run, "Say what the files hold, store nothing; needs no server");
  app->add_flag("--skip-bad", options->skip_bad, "Leave rows out that cannot be read, and list them");
  app->add_flag("--allow-drop", options->allow_drop, "Load what the server's retention drops");
  app->add_flag("--verify", options->verify,
                "Compare every sample with the store afterwards, to ten significant digits");
  app->add_option("--connections", options->connections, "Connections to load over [1]")
      ->option_text("N")
      ->check(CLI::Range(1, 16));
  AddFileOptions(*app, options->file, *words);
  AddCommonOptions(*app, options->common, true);
  SetExamples(*app,
              "  historian import plant.csv --dry-run\n"
              "  historian import plant.csv --zone Europe/Berlin\n"
              "  historian import 2025.csv.gz 2026.csv.gz --skip-bad --database plant\n"
              "  zcat old.csv.gz | historian import - --columns time,tag,value");
  return {app, [options, words](Terminal& terminal) {
            Apply(*words, options->file);
            return RunImport(*options, terminal);
          }};
}

}  // namespace historian::command
