#include "hosts/tour.h"

#include "support/library.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static bool works(const Tour* tour)
{
   return tour->failure[0] == '\0';
}

__attribute__((format(printf, 2, 3))) static void fail(Tour* tour, const char* format, ...)
{
   va_list arguments;
   if (!works(tour)) return;
   va_start(arguments, format);
   vsnprintf(tour->failure, sizeof tour->failure, format, arguments);
   va_end(arguments);
}

static AnyFunction find(Tour* tour, const char* name)
{
   const AnyFunction function = findFunction(tour->library, name);
   if (!function) fail(tour, "%s is missing", name);
   return function;
}

/* Declares a pointer to the function of the given name, result and parameters. */
#define FIND(tour, result, pointer, name, parameters)                                              \
   result(*const pointer) parameters = (result(*) parameters)find(tour, name)
#define FIND_OURS(tour, result, name, parameters)                                                  \
   FIND(tour, result, name, "zerovaapi_" #name, parameters)

/* What was to come of a call, and its status made ready for the next one. */
static void expectCode(Tour* tour, const char* call, int32_t code, quelerr_Status* status)
{
   if (status->code != code)
      fail(tour, "%s gave %d, not %d: %s", call, (int)status->code, (int)code,
           status->json ? status->json : "");
   status->code = 0;
}

static void expectText(Tour* tour, const char* call, const char* text, const char* part)
{
   if (!text || !strstr(text, part))
      fail(tour, "%s gave %s without %s", call, text ? text : "nothing", part);
}

bool tourLoad(Tour* tour, const char* file, bool global)
{
   if (works(tour)) {
      char reason[512] = "";
      tour->library = loadLibrary(file, global, reason, sizeof reason);
      if (!tour->library) fail(tour, "%s", reason);
   }
   return works(tour);
}

bool tourOpen(Tour* tour, const char* serviceHost)
{
   static const char settings[] =
      "{\"lorvexlua_xlator\":\"dorvex\",\"lorvexlua_settings\":{\"trvSharedErrorsDir\":\"/\"}}";
   quelerr_Status status;
   if (!works(tour)) return false;
   FIND_OURS(tour, zerovaapi_Session, createSession, (quelerr_Status*));
   FIND_OURS(tour, zerovaapi_Session, createRemoteSession, (const char*, quelerr_Status*));
   FIND(tour, lorvex_Translator*, createTranslator, "lorvex_exported_create",
        (const char*, const char*, quelerr_Status*));
   if (!works(tour)) return false;
   quelerr_heapStatus_init(&status);
   tour->sessions[0] = createSession(&status);
   expectCode(tour, "createSession", 0, &status);
   tour->sessions[1] = createRemoteSession(serviceHost, &status);
   expectCode(tour, "createRemoteSession", 0, &status);
   tour->translator = createTranslator("dorvex_zerova", settings, &status);
   expectCode(tour, "lorvex_exported_create", 0, &status);
   quelerr_heapStatus_release(&status);
   return works(tour);
}

static char* allocate(void* nullBlock, size_t length, void* context, quelerr_Status* status)
{
   (void)nullBlock;
   (void)context;
   (void)status;
   return (char*)malloc(length);
}

/* Values there and back: attributes, numbers, lists, terminals. */
static void callService(Tour* tour, zerovaapi_Session session, quelerr_Status* status)
{
   FIND_OURS(tour, zerovaapi_RouteAttributes, RouteAttributes_new, (quelerr_Status*));
   FIND_OURS(tour, zerovaapi_AttributeMap, RouteAttributes_getConstraints,
             (zerovaapi_RouteAttributes));
   FIND_OURS(tour, void, RouteConstraints_setStringConstraint,
             (zerovaapi_AttributeMap, const char*, const char*, quelerr_Status*));
   FIND_OURS(tour, void, RouteAttributes_destroy, (zerovaapi_RouteAttributes));
   FIND_OURS(
      tour, int32_t, calculateRoute,
      (zerovaapi_Session, const char*, const char*, zerovaapi_RouteAttributes, quelerr_Status*));
   FIND_OURS(tour, char**, getRoutableDevices, (zerovaapi_Session, quelerr_Status*));
   FIND_OURS(tour, void, destroyStringArray, (char**));
   FIND_OURS(tour, zerovaapi_TerminalContainer, getTerminalNamesAndAttributesForDevice,
             (zerovaapi_Session, const char*, const char* const*, quelerr_Status*));
   FIND_OURS(tour, zerovaapi_Iterator, TerminalContainer_begin, (zerovaapi_TerminalContainer));
   FIND_OURS(tour, const char*, TerminalIterator_getStringAttribute,
             (zerovaapi_TerminalContainer, zerovaapi_Iterator, const char*, quelerr_Status*));
   FIND_OURS(tour, void, TerminalContainer_destroy, (zerovaapi_TerminalContainer));
   zerovaapi_RouteAttributes attributes;
   zerovaapi_TerminalContainer terminals;
   char** devices;
   if (!works(tour)) return;

   attributes = RouteAttributes_new(status);
   RouteConstraints_setStringConstraint(RouteAttributes_getConstraints(attributes), "name",
                                        "a value of some length", status);
   if (calculateRoute(session, "dev1/a", "dev1/b", attributes, status) != 7)
      fail(tour, "calculateRoute gave no ticket 7");
   RouteAttributes_destroy(attributes);
   expectCode(tour, "calculateRoute", 0, status);

   devices = getRoutableDevices(session, status);
   expectText(tour, "getRoutableDevices", devices ? devices[0] : NULL, "dev1");
   destroyStringArray(devices);
   expectCode(tour, "getRoutableDevices", 0, status);

   terminals = getTerminalNamesAndAttributesForDevice(session, "dev1", NULL, status);
   expectCode(tour, "getTerminalNamesAndAttributesForDevice", 0, status);
   if (!works(tour)) return;
   expectText(tour, "getStringAttribute",
              TerminalIterator_getStringAttribute(terminals, TerminalContainer_begin(terminals),
                                                  "Name", status),
              "/dev1/t0");
   TerminalContainer_destroy(terminals);
   expectCode(tour, "getStringAttribute", 0, status);
}

/* Failures of each kind, of which every one is an exception inside. */
static void failOnPurpose(Tour* tour, zerovaapi_Session session, quelerr_Status* status)
{
   FIND_OURS(tour, void, reserveRoute, (zerovaapi_Session, int32_t, quelerr_Status*));
   FIND_OURS(tour, void, programRoute, (zerovaapi_Session, int32_t, quelerr_Status*));
   FIND_OURS(tour, void, unprogramRoute, (zerovaapi_Session, int32_t, quelerr_Status*));
   if (!works(tour)) return;
   programRoute(session, 7, status);
   expectText(tour, "programRoute", status->json, "Thrift::TApplicationException");
   expectCode(tour, "programRoute", -52024, status);
   unprogramRoute(session, 7, status);
   expectText(tour, "unprogramRoute", status->json, "Thrift::TProtocolException");
   expectCode(tour, "unprogramRoute", -52024, status);
   /* Its text is for the translator, so it stays in the buffer. */
   reserveRoute(session, 7, status);
   expectText(tour, "reserveRoute", status->json, "taken by another");
   expectCode(tour, "reserveRoute", -77, status);
}

static void describe(Tour* tour, const char* errJson)
{
   lorvex_Translator* const translator = tour->translator;
   const uint32_t german = LORVEX_LANG_AND_ADE(lorvex_languageGerman, lorvex_environmentNone);
   quelerr_Status status;
   char* text;
   quelerr_heapStatus_init(&status);

   text = translator->getStaticDesc(translator, 7, german, allocate, NULL, &status);
   if (!text) fail(tour, "getStaticDesc gave nothing");
   free(text);
   expectCode(tour, "getStaticDesc", 0, &status);

   text = translator->getDynamicDesc(translator, errJson, german, "json1", allocate, NULL, &status);
   expectText(tour, "getDynamicDesc", text, "taken by another");
   free(text);
   expectCode(tour, "getDynamicDesc", 0, &status);

   text =
      translator->getDynamicDesc(translator, "no JSON", german, "json1", allocate, NULL, &status);
   free(text);
   expectText(tour, "getDynamicDesc of no JSON", status.json, "invalid token");
   expectCode(tour, "getDynamicDesc of no JSON", -52003, &status);
   quelerr_heapStatus_release(&status);
}

bool tourUse(Tour* tour)
{
   int i;
   for (i = 0; i < 2 && works(tour); ++i) {
      quelerr_Status status;
      quelerr_heapStatus_init(&status);
      callService(tour, tour->sessions[i], &status);
      failOnPurpose(tour, tour->sessions[i], &status);
      if (works(tour)) describe(tour, status.json);
      quelerr_heapStatus_release(&status);
   }
   return works(tour);
}

bool tourClose(Tour* tour)
{
   int i;
   if (!works(tour)) return false;
   FIND_OURS(tour, void, destroySession, (zerovaapi_Session));
   if (!works(tour)) return false;
   for (i = 0; i < 2; ++i)
      destroySession(tour->sessions[i]);
   tour->translator->destroy(tour->translator);
   return true;
}

bool tourUnload(Tour* tour, const char* file)
{
   if (!works(tour)) return false;
   unloadLibrary(tour->library);
   if (isLoaded(file)) fail(tour, "something holds the library in the process");
   return works(tour);
}

const char* takeTour(const char* file, const char* serviceHost)
{
   static Tour tour;
   int round;
   memset(&tour, 0, sizeof tour);
   for (round = 0; round < 2; ++round) {
      tourLoad(&tour, file, false);
      tourOpen(&tour, serviceHost);
      tourUse(&tour);
      tourClose(&tour);
      tourUnload(&tour, file);
   }
   return tour.failure;
}
