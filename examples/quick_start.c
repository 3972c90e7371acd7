#include <stdio.h>
#include <zerovaapi.h>

int main(void) /* connects two terminals through the routing service of this machine */
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   int32_t route = 0;
   zerovaapi_Session session = zerovaapi_createSession(&status);
   if (session) /* a service can refuse without leaving a code */
      route = zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, &status);
   if (session && status.code == 0) { /* the route is used only if it was made */
      zerovaapi_reserveRoute(session, route, &status);
      zerovaapi_programRoute(session, route, &status);
   }
   const bool connected = session && status.code == 0;
   if (connected)
      printf("/matrix1/ch0 and /matrix1/ch1 are connected by route %d\n", (int)route);
   else
      fprintf(stderr, "not connected: %d %s\n", (int)status.code, status.json ? status.json : "");
   zerovaapi_destroySession(session); /* ends the route, too */
   quelerr_heapStatus_release(&status);
   return connected ? 0 : 1;
}
