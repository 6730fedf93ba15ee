// What jni.h leaves to the system, for 64-bit Windows: a JDK brings the file for the system it runs on only.
#ifndef VKKRNX_JNI_MD_H
#define VKKRNX_JNI_MD_H

#define JNIEXPORT __declspec(dllexport)
#define JNIIMPORT __declspec(dllimport)
#define JNICALL __stdcall

typedef int jint;
typedef long long jlong;
typedef signed char jbyte;

#endif
