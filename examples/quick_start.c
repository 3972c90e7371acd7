/* Connects two terminals through the routing service of this machine. */
#include <stdio.h>
#include <zerovaapi.h>

int main(void)
{
   quelerr_Status status;
   zerovaapi_Session session;
   int32_t ticket;

   quelerr_heapStatus_init(&status);
   session = zerovaapi_createSession(&status); /* after a failure the calls below do nothing */
   ticket = zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, &status);
   zerovaapi_reserveRoute(session, ticket, &status);
   zerovaapi_programRoute(session, ticket, &status);
   if (status.code < 0)
      fprintf(stderr, "%d %s\n", (int)status.code, status.json ? status.json : "");
   else
      printf("/matrix1/ch0 and /matrix1/ch1 are connected by route %d\n", (int)ticket);
   zerovaapi_destroySession(session); /* ends the route, too */
   quelerr_heapStatus_release(&status);
   return status.code < 0;
}
