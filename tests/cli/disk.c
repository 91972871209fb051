/* Preloaded into the tool: notes in the file that DISK_LOG names which files it syncs and renames,
 * in their order; a sync of what DISK_FAILS names fails. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

int fsync(int descriptor) {
  struct stat status;
  FILE* log = fopen(getenv("DISK_LOG"), "a");
  const char* kind = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode) ? "folder" : "file";
  const char* fails = getenv("DISK_FAILS");
  fprintf(log, "sync %s\n", kind);
  fclose(log);
  errno = EIO;
  return fails != NULL && strcmp(fails, kind) == 0 ? -1 : 0;
}

int rename(const char* from, const char* to) {
  int (*real)(const char*, const char*);
  FILE* log = fopen(getenv("DISK_LOG"), "a");
  *(void**)&real = dlsym(RTLD_NEXT, "rename");
  fprintf(log, "rename to %s\n", strrchr(to, '/') == NULL ? to : strrchr(to, '/') + 1);
  fclose(log);
  return real(from, to);
}
