/* Turns a status code or a status JSON into words, for people at a bench. See kUsage. */
#include "description_rows.h"

#include <lorvex_translator.h>
#include <quelerr_status.h>

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char kUsage[] =
   "Usage: describe_error [OPTION]... WHAT\n"
   "\n"
   "Tells in words what WHAT means:\n"
   "   a status code, such as -52006 or 0xFFFF34DA\n"
   "   a status JSON, such as '{\"component\":\"zerovaapi\",\"line\":42}'\n"
   "   @FILE for a status JSON that stands in a file, - for one on standard input\n"
   "\n"
   "   --language LANGUAGE  english, french, german, japanese, korean, chinese, or 0 to 5\n"
   "   --all-languages      in each of them\n"
   "   --environment INDEX  development environment in whose words attributes are named, 0 to 3\n"
   "   --errors DIR         folder of the shared error description files\n"
   "   --aux DIR            folder of the error description files of drivers\n"
   "   --driver NAME        driver whose files and attribute tables are searched\n"
   "   --scripts DIRS       folders of a driver's script modules, separated by semicolons\n"
   "   --settings FILE      registration JSON to use in place of the four options above\n"
   "   --raw                print a description as it comes, not as lines\n"
   "   --help               print this and end\n"
   "\n"
   "Without folders, those that an installer has published on this machine are searched. A folder "
   "may\n"
   "hold variables, such as '$_trvSharedDir/Errors'.\n"
   "Ends with 0 if everything was described, with 1 if not, with 2 for a wrong use.\n";

static const char* const kLanguages[] = {"English",  "French", "German",
                                         "Japanese", "Korean", "Chinese"};
enum
{
   kLanguageCount = 6
};

typedef struct Options
{
   const char* language;
   const char* environment;
   const char* errors;
   const char* aux;
   const char* driver;
   const char* scripts;
   const char* settings;
   bool allLanguages;
   bool raw;
   const char* what;
} Options;

static void fail(const char* subject, const char* what)
{
   fprintf(stderr, "describe_error: %s: %s\n", subject, what);
   exit(EXIT_FAILURE);
}

static void wrongUse(const char* subject, const char* what)
{
   fprintf(stderr, "describe_error: %s: %s; --help tells more\n", subject, what);
   exit(2);
}

static void* allocate(void* block, size_t size)
{
   void* const larger = realloc(block, size);
   if (!larger) fail("memory", "there is none left");
   return larger;
}

/* The whole of a file, or of standard input for "-". The caller frees it. */
static char* readFile(const char* name)
{
   const bool isInput = strcmp(name, "-") == 0;
   FILE* const file = isInput ? stdin : fopen(name, "rb");
   char* text = NULL;
   size_t length = 0;
   size_t got;
   if (!file) fail(name, strerror(errno));
   do {
      text = allocate(text, length + 4097);
      got = fread(text + length, 1, 4096, file);
      length += got;
   } while (got > 0);
   if (ferror(file)) fail(name, "cannot be read");
   if (!isInput) fclose(file);
   text[length] = '\0';
   return text;
}

/* A number from 0 to max; anything else is a wrong use. */
static uint32_t parseIndex(const char* text, uint32_t max, const char* option)
{
   char* end;
   const unsigned long index = strtoul(text, &end, 10);
   if (end == text || *end || *text == '-' || index > max) wrongUse(option, "no such value");
   return (uint32_t)index;
}

/* A language by the beginning of its name in any case, three letters at least, or by its index. */
static uint32_t parseLanguage(const char* text)
{
   uint32_t language;
   const size_t length = strlen(text);
   for (language = 0; length >= 3 && language < kLanguageCount; ++language) {
      size_t i = 0;
      while (i < length && (text[i] | 0x20) == (kLanguages[language][i] | 0x20))
         ++i;
      if (i == length) return language;
   }
   return parseIndex(text, kLanguageCount - 1, "--language");
}

static bool isCode(const char* text, uint32_t* code)
{
   char* end;
   const long long number = strtoll(text, &end, 0);
   if (end == text || *end || number < INT32_MIN || number > (long long)UINT32_MAX) return false;
   *code = (uint32_t)number;
   return true;
}

static Options parseOptions(int argc, char** argv)
{
   Options options = {0};
   bool help = false;
   const struct
   {
      const char* name;
      const char** value; /* null: a switch */
      bool* isSet;
   } kinds[] = {
      {"--language", &options.language, NULL}, {"--environment", &options.environment, NULL},
      {"--errors", &options.errors, NULL},     {"--aux", &options.aux, NULL},
      {"--driver", &options.driver, NULL},     {"--scripts", &options.scripts, NULL},
      {"--settings", &options.settings, NULL}, {"--all-languages", NULL, &options.allLanguages},
      {"--raw", NULL, &options.raw},           {"--help", NULL, &help}};
   const size_t kindCount = sizeof kinds / sizeof kinds[0];
   int i;
   for (i = 1; i < argc; ++i) {
      const char* const argument = argv[i];
      uint32_t code;
      size_t kind = 0;
      if (argument[0] != '-' || argument[1] == '\0' || isCode(argument, &code)) {
         if (options.what) wrongUse(argument, "one thing at a time");
         options.what = argument;
         continue;
      }
      while (kind < kindCount && strcmp(argument, kinds[kind].name) != 0)
         ++kind;
      if (kind == kindCount) wrongUse(argument, "unknown option");
      if (kinds[kind].isSet) {
         *kinds[kind].isSet = true;
      } else {
         if (++i == argc) wrongUse(argument, "needs a value");
         *kinds[kind].value = argv[i];
      }
   }
   if (help) {
      fputs(kUsage, stdout);
      exit(EXIT_SUCCESS);
   }
   if (!options.what) wrongUse("nothing to describe", "give a code or a status JSON");
   return options;
}

/* Adds "key":"value" to a JSON object under construction, which the caller frees. */
static char* appendMember(char* json, const char* key, const char* value)
{
   size_t length = strlen(json);
   json = allocate(json, length + strlen(key) + 2 * strlen(value) + 8);
   if (json[length - 1] != '{') json[length++] = ',';
   length += (size_t)sprintf(json + length, "\"%s\":\"", key);
   for (; *value; ++value) {
      if (*value == '"' || *value == '\\') json[length++] = '\\';
      json[length++] = *value;
   }
   strcpy(json + length, "\"");
   return json;
}

static char* append(char* json, const char* text)
{
   return strcat(allocate(json, strlen(json) + strlen(text) + 1), text);
}

/* The registration of the translator: which script translates, and with which settings. */
static char* registrationOf(const Options* options)
{
   char* json;
   if (options->settings) return readFile(options->settings);
   json = append(strcpy(allocate(NULL, 2), "{"), "");
   json = appendMember(json, "lorvexlua_xlator", "dorvex");
   if (options->scripts) json = appendMember(json, "lorvexlua_path", options->scripts);
   json = append(json, ",\"lorvexlua_settings\":{");
   json = appendMember(json, "driverName", options->driver ? options->driver : "zerova");
   json = appendMember(json, "trvSharedErrorsDir",
                       options->errors ? options->errors : "$_trvShared32Dir/Errors");
   /* Optional; without folders of the caller's own, the installer's. */
   if (options->aux || !options->errors)
      json = appendMember(json, "AuxErrorsDir",
                          options->aux ? options->aux : "$_trvShared32Dir/Auxerrors");
   return append(json, "}}");
}

/* The host's memory for a description. */
static char* giveMemory(void* nullBlock, size_t length, void* context, quelerr_Status* status)
{
   char* const block = malloc(length);
   (void)nullBlock;
   (void)context;
   if (!block && status->code >= 0) status->code = -52000;
   return block;
}

static void printLines(const char* text, const char* indent)
{
   while (*text) {
      const size_t length = strcspn(text, "\n");
      printf("%s%.*s\n", length > 0 ? indent : "", (int)length, text);
      text += length + (text[length] == '\n');
   }
}

/* Prints the description in one language: of the status JSON, or of the code if that is null.
 * Returns whether there was one. */
static bool describe(lorvex_Translator* translator, const char* errJson, uint32_t code,
                     uint32_t langAndAde, bool raw, const char* indent)
{
   quelerr_Status status;
   char* text;
   bool good = true;
   quelerr_heapStatus_init(&status);
   text = errJson
             ? translator->getDynamicDesc(translator, errJson, langAndAde, "json1", giveMemory,
                                          NULL, &status)
             : translator->getStaticDesc(translator, code, langAndAde, giveMemory, NULL, &status);
   if (!text) {
      fprintf(stderr, "describe_error: status %d %s\n", (int)status.code,
              status.json ? status.json : "");
      good = false;
   } else if (errJson && !raw) {
      good = printDescription(stdout, text, indent);
   } else {
      printLines(text, indent);
   }
   free(text);
   quelerr_heapStatus_release(&status);
   return good;
}

int main(int argc, char** argv)
{
   const Options options = parseOptions(argc, argv);
   const uint32_t only = options.language ? parseLanguage(options.language) : 0;
   const uint32_t environment =
      options.environment ? parseIndex(options.environment, 3, "--environment") : 0;
   uint32_t code = 0;
   const bool isBare = isCode(options.what, &code);
   const bool isInput = strcmp(options.what, "-") == 0;
   const bool isFile = options.what[0] == '@' || isInput;
   char* const fileText = isFile ? readFile(isInput ? "-" : options.what + 1) : NULL;
   const char* const errJson = isBare ? NULL : isFile ? fileText : options.what;
   char* const registration = registrationOf(&options);
   lorvex_Translator* translator;
   quelerr_Status status;
   uint32_t language;
   bool good = true;

   quelerr_heapStatus_init(&status);
   translator = lorvex_exported_create("dorvex_zerova", registration, &status);
   if (!translator) {
      fprintf(stderr, "describe_error: no translator: status %d %s\n", (int)status.code,
              status.json ? status.json : "");
      good = false;
   }
   for (language = 0; translator && language < kLanguageCount; ++language) {
      const uint32_t langAndAde = LORVEX_LANG_AND_ADE(language, environment);
      if (options.allLanguages) {
         printf("%s\n", kLanguages[language]);
         good = describe(translator, errJson, code, langAndAde, options.raw, "   ") && good;
      } else if (language == only) {
         good = describe(translator, errJson, code, langAndAde, options.raw, "");
      }
   }
   if (translator) translator->destroy(translator);
   quelerr_heapStatus_release(&status);
   free(fileText);
   free(registration);
   return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
