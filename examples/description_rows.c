#include "description_rows.h"

#include <stdlib.h>
#include <string.h>

/* A reader that walks over JSON text without building anything. All functions leave at at the first
 * character that they did not take, and a null at once something does not fit. */
typedef struct Reader
{
   const char* at; /* null: the text is not what was expected */
   FILE* out;      /* where strings go; null: they are only walked over */
} Reader;

static void skipBlanks(Reader* reader)
{
   if (reader->at) reader->at += strspn(reader->at, " \t\r\n");
}

/* Takes the character, if it is there. */
static bool take(Reader* reader, char character)
{
   skipBlanks(reader);
   if (!reader->at || *reader->at != character) return false;
   ++reader->at;
   return true;
}

static void require(Reader* reader, char character)
{
   if (!take(reader, character)) reader->at = NULL;
}

/* As UTF-8. */
static void put(const Reader* reader, unsigned long character)
{
   if (!reader->out) return;
   if (character < 0x80) {
      putc((int)character, reader->out);
   } else if (character < 0x800) {
      putc((int)(0xC0 | (character >> 6)), reader->out);
      putc((int)(0x80 | (character & 0x3F)), reader->out);
   } else {
      putc((int)(0xE0 | (character >> 12)), reader->out);
      putc((int)(0x80 | ((character >> 6) & 0x3F)), reader->out);
      putc((int)(0x80 | (character & 0x3F)), reader->out);
   }
}

static void readEscape(Reader* reader)
{
   static const char kNames[] = "bfnrt\"\\/";
   static const char kValues[] = "\b\f\n\r\t\"\\/";
   const char* const name = *reader->at ? strchr(kNames, *reader->at) : NULL;
   if (name) {
      put(reader, (unsigned char)kValues[name - kNames]);
      ++reader->at;
   } else if (*reader->at == 'u' && strspn(reader->at + 1, "0123456789abcdefABCDEF") >= 4) {
      char digits[5] = {0};
      memcpy(digits, reader->at + 1, 4);
      put(reader, strtoul(digits, NULL, 16));
      reader->at += 5;
   } else {
      reader->at = NULL;
   }
}

static void readString(Reader* reader)
{
   require(reader, '"');
   while (reader->at && *reader->at != '"') {
      const char c = *reader->at;
      if (c == '\0') {
         reader->at = NULL;
      } else if (c == '\\') {
         ++reader->at;
         readEscape(reader);
      } else {
         if (reader->out) putc(c, reader->out);
         ++reader->at;
      }
   }
   require(reader, '"');
}

/* Prints a value: a text bare, an array as a list, anything else as it is written. Objects come in
 * the debug rows of reports whose members are objects, and as empty arrays. */
static void readValue(Reader* reader, int depth)
{
   bool more;
   skipBlanks(reader);
   if (!reader->at || depth > 64) {
      reader->at = NULL;
   } else if (*reader->at == '"') {
      readString(reader);
   } else if (*reader->at == '[' || *reader->at == '{') {
      const bool isObject = *reader->at == '{';
      const char close = isObject ? '}' : ']';
      ++reader->at;
      for (more = !take(reader, close); more; more = reader->at && *reader->at == ',') {
         if (reader->at[0] == ',') {
            ++reader->at;
            if (reader->out) fputs(", ", reader->out);
         }
         if (isObject) {
            readString(reader);
            require(reader, ':');
            if (reader->out) fputs("=", reader->out);
         }
         readValue(reader, depth + 1);
         skipBlanks(reader);
         if (reader->at && *reader->at != ',') {
            require(reader, close);
            break;
         }
      }
   } else {
      const size_t length = strcspn(reader->at, ",]} \t\r\n");
      if (reader->out) fwrite(reader->at, 1, length, reader->out);
      reader->at = length > 0 ? reader->at + length : NULL;
   }
}

/* Walks to the member of the object that reader stands at, and leaves reader at its value. A member
 * that is not there leaves it at null. */
static Reader findMember(Reader reader, const char* name)
{
   const size_t length = strlen(name);
   FILE* const out = reader.out;
   reader.out = NULL;
   require(&reader, '{');
   while (reader.at) {
      const char* key;
      skipBlanks(&reader);
      key = reader.at;
      readString(&reader);
      require(&reader, ':');
      if (reader.at && strncmp(key + 1, name, length) == 0 && key[1 + length] == '"') break;
      readValue(&reader, 0);
      require(&reader, ',');
   }
   reader.out = out;
   return reader;
}

static void printRow(Reader row)
{
   Reader key = findMember(row, "key");
   Reader value = findMember(row, "value");
   if (key.at) {
      readValue(&key, 0);
      fputs(": ", row.out);
   }
   if (value.at) readValue(&value, 0);
   putc('\n', row.out);
}

/* Prints the rows under heading, which may be null. */
static bool printRows(Reader rows, const char* heading, const char* indent)
{
   bool more;
   require(&rows, '[');
   for (more = !take(&rows, ']'); more; more = take(&rows, ',')) {
      const Reader row = rows;
      if (heading) fprintf(rows.out, "%s\n", heading);
      heading = NULL;
      fputs(indent, row.out);
      printRow(row);
      rows.out = NULL;
      readValue(&rows, 0);
      rows.out = row.out;
   }
   return rows.at != NULL;
}

bool printDescription(FILE* out, const char* description, const char* indent)
{
   const Reader reader = {description, out};
   char details[64];
   char deeper[64];
   bool good;
   snprintf(details, sizeof details, "%sDetails", indent);
   snprintf(deeper, sizeof deeper, "%s   ", indent);
   good = printRows(findMember(reader, "dynamic"), NULL, indent);
   return printRows(findMember(reader, "debug"), details, deeper) && good;
}
