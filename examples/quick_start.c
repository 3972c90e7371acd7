#include <stdio.h>
#include <zerovaapi.h>

int main(void) /* connects two terminals through the routing service of this machine */
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   /* The first failure stays in the status, and the calls behind it do nothing. */
   zerovaapi_Session session = zerovaapi_createSession(&status);
   int32_t route = zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, &status);
   zerovaapi_reserveRoute(session, route, &status);
   zerovaapi_programRoute(session, route, &status);
   if (status.code < 0)
      fprintf(stderr, "%d %s\n", (int)status.code, status.json ? status.json : "");
   else
      printf("/matrix1/ch0 and /matrix1/ch1 are connected by route %d\n", (int)route);
   zerovaapi_destroySession(session); /* ends the route, too */
   quelerr_heapStatus_release(&status);
   return status.code < 0;
}
