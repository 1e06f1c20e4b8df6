// The system log takes nothing of what inputs make the code say.
//
// Declared here, because the C library's header would make the fortified form inline.
extern "C" {

void syslog(int priority, const char* format, ...);
void syslog(int /*priority*/, const char* /*format*/, ...) {}

void __syslog_chk(int priority, int flag, const char* format, ...);
void __syslog_chk(int /*priority*/, int /*flag*/, const char* /*format*/, ...) {}

}  // extern "C"
