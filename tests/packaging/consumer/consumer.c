/* What a program that was built on an installed library can do without a service. */
#include <lorvex_translator.h>
#include <quelerr_status.h>
#include <zerovaapi.h>

#include <stdio.h>
#include <stdlib.h>

static char* giveMemory(void* nullBlock, size_t length, void* context, quelerr_Status* status)
{
   char* const block = malloc(length);
   (void)nullBlock;
   (void)context;
   if (!block && status->code >= 0) status->code = -52000;
   return block;
}

int main(void)
{
   quelerr_Status status;
   zerovaapi_RouteAttributes attributes;
   lorvex_Translator* translator;
   char* text = NULL;

   quelerr_heapStatus_init(&status);
   attributes = zerovaapi_RouteAttributes_new(&status);
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeImmediate, &status);
   zerovaapi_RouteAttributes_destroy(attributes);
   translator = lorvex_exported_create(
      "dorvex_zerova", "{\"lorvexlua_xlator\":\"dorvex\",\"lorvexlua_settings\":{}}", &status);
   if (translator) {
      text = translator->getDynamicDesc(
         translator, "{\"component\":\"consumer\"}",
         LORVEX_LANG_AND_ADE(lorvex_languageEnglish, lorvex_environmentNone), "json1", giveMemory,
         NULL, &status);
      translator->destroy(translator);
   }
   printf("%d %s\n", (int)status.code, text ? text : "");
   free(text);
   quelerr_heapStatus_release(&status);
   return status.code != 0;
}
