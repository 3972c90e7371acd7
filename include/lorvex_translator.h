/* Translators: how a host turns a status into words.
 *
 * 1. A translator is made by lorvex_exported_create and ended through its own destroy. It is a
 *    plain structure, so it may cross from one module to another; call it through its function
 *    fields and pass it to them as self.
 * 2. Every text is NUL-terminated and UTF-8. The library keeps none of the texts it is given longer
 *    than the call.
 * 3. Failures are reported in the status (quelerr_status.h), which is the last argument. A null
 *    status is not allowed. An operation does nothing when the status holds an error on entry,
 *    unless it says otherwise.
 * 4. Results are the host's own: a description is memory that the host's lorvex_AllocString gave,
 *    and the host gives it back in its own way. The library frees none of it.
 * 5. Calls block only for as long as they read files and settings of this machine.
 * 6. lorvex_exported_create may run on any number of threads at once. One translator serves one
 *    call at a time, on any thread; distinct translators share nothing.
 * 7. The calls run in the default floating-point environment and give the caller's back, so neither
 *    its rounding nor its traps matter. The host's callbacks see the caller's own. No locale, of
 *    the process or of a thread, changes a description or a number in a registration.
 * 8. A call needs 16 KiB of stack at most, and getDynamicDesc 112 KiB for the deepest document that
 *    it takes (1000 levels); what the host's callbacks need comes on top, and so does what a script
 *    module of a driver needs beyond the library's own.
 *
 * A failure is told in full by two descriptions: that of its code, and that of its json.
 *
 * Use:
 *    const uint32_t german = LORVEX_LANG_AND_ADE(lorvex_languageGerman, lorvex_environmentNone);
 *    lorvex_Translator* translator = lorvex_exported_create("dorvex_zerova", settings, &status);
 *    if (translator) {
 *       char* sentence = translator->getStaticDesc(translator, (uint32_t)failed.code, german,
 *                                                  allocate, NULL, &status);
 *       char* details = translator->getDynamicDesc(translator, failed.json, german, "json1",
 *                                                  allocate, NULL, &status);
 *       ... show and free the texts; each may be null ...
 *       translator->destroy(translator);
 *    }
 */
#ifndef LORVEX_TRANSLATOR_H
#define LORVEX_TRANSLATOR_H

#include "quelerr_status.h"

#include <stddef.h>
#include <stdint.h>

/* A host that links the library's code into its own program on Windows defines ZEROVAAPI_STATIC. */
#if defined(_WIN32)
#if defined(ZEROVAAPI_BUILDING) || defined(ZEROVAAPI_STATIC)
#define LORVEX_EXPORT
#else
#define LORVEX_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define LORVEX_EXPORT __attribute__((visibility("default")))
#else
#define LORVEX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Language of a description. The comment names the folder of its error description files. */
enum lorvex_Language
{
   lorvex_languageEnglish = 0,  /* English */
   lorvex_languageFrench = 1,   /* French */
   lorvex_languageGerman = 2,   /* German */
   lorvex_languageJapanese = 3, /* Japanese */
   lorvex_languageKorean = 4,   /* Korean */
   lorvex_languageChinese = 5   /* ChineseS */
};

/* Development environment in whose words a description may name things. A hint. */
enum lorvex_Environment
{
   lorvex_environmentNone = 0,
   lorvex_environmentBrask = 1,
   lorvex_environmentTolm = 2,
   lorvex_environmentFennow = 3
};

/* Packs a language and an environment into the word that the descriptions take: the language in
 * bits 0 to 7, the environment in bits 8 to 11. The other bits are ignored. */
#define LORVEX_LANG_AND_ADE(language, environment)                                                 \
   ((0xFFu & (uint32_t)(language)) | ((0xFu & (uint32_t)(environment)) << 8))

/* Gives the memory of one description. Supplied by the host.
 *
 * nullBlock: always null.
 * length: bytes needed, the NUL included.
 * allocContext: the pointer that the host handed to the description.
 * On failure: returns null and puts an error into status, -52000 for lack of memory.
 * It must not throw, nor leave the call in another way. If it does, the description is lost, and the
 * translator can be used on. */
typedef char*(QUELERR_CALL* lorvex_AllocString)(void* nullBlock, size_t length, void* allocContext,
                                                quelerr_Status* status);

typedef struct lorvex_Translator lorvex_Translator;

struct lorvex_Translator
{
   /* Bytes of this structure, 32. The fields that a translator may have behind it do not count. */
   uint64_t structSize;

   /* Ends the translator, which must not be used afterwards. Cannot fail. A null self does
    * nothing. */
   void(QUELERR_CALL* destroy)(lorvex_Translator* self);

   /* Describes a bare status code: the sentence that stands in the error description files. Says
    * nothing of what the status's json holds.
    *
    * code: the signed status code, as its 32 bits.
    * langAndAde: see LORVEX_LANG_AND_ADE; hints. A language or text that is not there is replaced.
    * allocContext: handed to allocString as it is; may be null.
    * Returns the description in memory of allocString, owned by the host, or null on failure.
    * A translator of this library runs even when status holds an error, and leaves that error.
    * Codes: -52003 when a script failed, and those of allocString. */
   char*(QUELERR_CALL* getStaticDesc)(lorvex_Translator* self, uint32_t code, uint32_t langAndAde,
                                      lorvex_AllocString allocString, void* allocContext,
                                      quelerr_Status* status);

   /* Describes a status JSON. Says nothing of the status's code. The field is null in a translator
    * of bare codes only.
    *
    * errJson: the json of a failed status. Bound the length of one whose service is not trusted: the
    *    time can grow with its square.
    * langAndAde, allocString, allocContext: as above.
    * format: of the result; "json1" gives a JSON object.
    * Returns the description in memory of allocString, owned by the host, or null on failure and
    * when there is nothing to tell.
    * Codes: -52029 for any other format, -52003 when a script failed or errJson is no JSON, and
    * those of allocString. */
   char*(QUELERR_CALL* getDynamicDesc)(lorvex_Translator* self, const char* errJson,
                                       uint32_t langAndAde, const char* format,
                                       lorvex_AllocString allocString, void* allocContext,
                                       quelerr_Status* status);
};

/* Makes the translator of a name.
 *
 * name: compared byte for byte; the library has "dorvex_zerova". Not null.
 * registrationInfo: the translator's settings, a JSON object; never null. Members:
 *    lorvexlua_xlator: name of the script module that translates, "dorvex"; needed.
 *    lorvexlua_path: folders of further script modules, separated by semicolons.
 *    lorvexlua_settings: an object for the script: driverName, trvSharedErrorsDir, AuxErrorsDir.
 * Returns the translator, which the caller ends through destroy, or null. Lack of memory for the
 * translator itself is null with status unchanged, so test the result.
 * Codes: -52005 for an unknown name, -52000 for lack of memory, -52003 when its scripts could not
 * be set up. */
LORVEX_EXPORT lorvex_Translator* QUELERR_CALL lorvex_exported_create(const char* name,
                                                                     const char* registrationInfo,
                                                                     quelerr_Status* status);

#ifdef __cplusplus
}
#endif

#endif
