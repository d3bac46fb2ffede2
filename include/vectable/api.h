/* Marks what libvectable exports. */
#ifndef VECTABLE_API_H
#define VECTABLE_API_H

#ifndef VECTABLE_API
#define VECTABLE_API __attribute__((visibility("default")))
#endif

#endif
