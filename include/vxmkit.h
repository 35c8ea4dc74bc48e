/** @file
   Fingerprint template matching: the whole contract of the library.

   A host creates a matcher, tells it once which template format to expect and
   how strict to be, and then compares minutiae templates that it made elsewhere:

       MatcherHandle matcher;
       float score;
       int verified;
       if (VXM_Create(&matcher) != VXM_OK) return 1;
       VXM_SetTemplateType(matcher, TEMPLATE_ISO19794_2);
       int status = VXM_VerifyEx(matcher, a, sizeA, b, sizeB, &score, &verified);
       VXM_Delete(matcher);

   Order of calls: VXM_Create; optionally VXM_SetTemplateType and
   VXM_SetParameter; any number of verifications, identifications, incremental
   identifications and rotations; VXM_Delete.

   What holds for every function:

   1. The result is a status: 0 (VXM_OK) or one of the negative codes below. A
      comparison that finds no match is a success; the answer is an output.
   2. A null matcher, or a null pointer that the call needs, gives
      VXM_ERR_INVALID_PARAMETERS. A handle is not checked beyond null: it must
      come from VXM_Create and not have been deleted.
   3. Template buffers belong to the caller and are only read (VXM_RotateTemplate
      alone writes into one). Sizes are in bytes; a negative size counts as 0.
      Any bytes of any size may be handed in: nothing at or beyond the size is
      read or written.
   4. Scores are integers 0..9999 inside and come out divided by 10000. The same
      templates give the same score on every machine, whatever the matcher did
      before.
   5. Threads: verification, each pass of identification and VXM_IdentifyNext
      run one at a time in the whole process. Use a matcher from one thread at a
      time, except for VXM_AbortIdentify, which may be called from any thread
      while the matcher exists. Matchers may be created and deleted from several
      threads at once.
   6. Nothing is printed and nothing is thrown. (One exception: when the worker
      thread of VXM_IdentifyMT cannot be started, a notice is shown: a message
      box on Windows, a line on standard error elsewhere.)
   7. A failed allocation gives VXM_ERROR and leaves nothing behind.
*/
#ifndef VXMKIT_H
#define VXMKIT_H

#if defined(_WIN32)
#include <stddef.h> /* wchar_t */
#endif

/* The calling convention is C (cdecl on 32-bit Windows, where the names stay
   undecorated in the DLL). */
#if defined(_WIN32)
#define VXM_CALL __cdecl
#define VXM_API
#elif defined(__GNUC__)
#define VXM_CALL
#define VXM_API __attribute__((visibility("default")))
#else
#define VXM_CALL
#define VXM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** A matcher: settings and all working memory (about 2.3 MB), made by VXM_Create. */
typedef struct Matcher* MatcherHandle;

/** A character of the text that VXM_GetErrorString_B makes: UTF-16. */
#if defined(_WIN32)
typedef wchar_t VXM_Char16;
#else
typedef unsigned short VXM_Char16;
#endif
/** On Windows the COM string type BSTR, to be freed with SysFreeString;
   elsewhere a zero-terminated UTF-16 text, to be freed with free. */
typedef VXM_Char16* VXM_ComString;

/** Template formats, for VXM_SetTemplateType. The version of a record is not looked at:
   one of a later edition (ISO/IEC 19794-2:2011, ANSI INCITS 378-2009) is taken for
   ISO/IEC 19794-2:2005 and matches nothing, without an error; nor does resolution scale
   anything, so records of 500 and of 1000 dpi do not match. Convert both before, as by
   vxmrecords. */
enum TemplateType {
  TEMPLATE_NATIVE = 2001,     /**< the library's own format */
  TEMPLATE_ISO19794_2 = 2002, /**< ISO/IEC 19794-2:2005 finger minutiae record */
  TEMPLATE_ANSI378 = 2003     /**< ANSI INCITS 378-2004 finger minutiae record */
};

/** Status codes. */
enum VXM_Status {
  VXM_OK = 0,                        /**< success, also of a comparison without a match */
  VXM_ERROR = -1,                    /**< no memory, no thread, unknown id */
  VXM_ERR_NOT_SUPPORTED = -111,      /**< not returned by this version */
  VXM_ERR_INVALID_PARAMETERS = -112, /**< null pointer, invalid native template */
  VXM_ERR_DATA_CORRUPTED = -113,     /**< a standard record fails its check */
  VXM_ERR_MATCH_TIMEOUT = -401,      /**< identification passed its time limit */
  VXM_ERR_MATCH_ABORTED = -402,      /**< identification saw VXM_AbortIdentify */
  VXM_ERR_TEMPLATE_TYPE = -411       /**< template does not fit the matcher's type */
};

/** Parameter ids for VXM_GetParameter and VXM_SetParameter; all values are int
   except the two read-only texts. */
enum VXM_Parameter {
  VXM_PARAM_VERSION = 210,        /**< text, read only, 23 bytes with its zero */
  VXM_PARAM_COPYRIGHT = 211,      /**< text, read only, 32 bytes with its zero */
  VXM_PARAM_FAST_MODE = 301,      /**< 0 or 1; default 1: identification compares
                                     reduced templates first */
  VXM_PARAM_SECURITY_LEVEL = 302, /**< 1 (lenient) to 7 (strict), clamped; default 4 */
  VXM_PARAM_ISO_MODE = 311,       /**< 1: type TEMPLATE_ISO19794_2, 0: TEMPLATE_NATIVE */
  VXM_PARAM_RETRY_TURNED = 321    /**< 0 or 1; default 0: after a failed comparison
                                     compare with the probe turned by 180 degrees */
};

/** Least sizes of the buffers for texts, in bytes. */
enum VXM_TextSize {
  VXM_PARAMETER_TEXT_SIZE = 32, /**< VXM_GetParameter, ids 210 and 211 */
  VXM_ERROR_TEXT_SIZE = 31      /**< VXM_GetErrorString */
};

/* ---- Matchers ---------------------------------------------------------- */

/** Makes a matcher with the default settings and stores it in *handle, which is
   null on failure. VXM_ERROR: no memory or no system object was to be had. */
VXM_API int VXM_CALL VXM_Create(MatcherHandle* handle);

/** As VXM_Create; `extra` is accepted and not used, and may be null. */
VXM_API int VXM_CALL VXM_CreateEx(MatcherHandle* handle, const char* extra);

/** Releases a matcher. No other call may be running on it. */
VXM_API int VXM_CALL VXM_Delete(MatcherHandle handle);

/* ---- Settings ---------------------------------------------------------- */

/** Reads a parameter into *value: an int for ids 301 to 321, a zero-terminated
   text for 210 and 211 (give VXM_PARAMETER_TEXT_SIZE bytes).
   VXM_ERROR: unknown id, whatever `value` is; nothing written. */
VXM_API int VXM_CALL VXM_GetParameter(MatcherHandle handle, int id, void* value);

/** Sets an int parameter: switches take any non-zero value as 1, the security
   level is clamped to 1..7. Takes effect with the next call.
   VXM_ERROR: unknown or read-only id, whatever `value` is; nothing changed. */
VXM_API int VXM_CALL VXM_SetParameter(MatcherHandle handle, int id, const int* value);

/** Reads the template type into *type. */
VXM_API int VXM_CALL VXM_GetTemplateType(MatcherHandle handle, int* type);

/** Sets the one template format that the matcher takes. The value is not tested:
   with one other than the three, verification answers VXM_ERR_TEMPLATE_TYPE and
   identification works as for TEMPLATE_NATIVE. */
VXM_API int VXM_CALL VXM_SetTemplateType(MatcherHandle handle, int type);

/* ---- One to one -------------------------------------------------------- */

/** Compares two templates of the matcher's type. The first is the probe, the one
   that is turned when VXM_PARAM_RETRY_TURNED is set. *score is the similarity
   0.0 to 0.9999 (the better one of two comparisons), *verified 1 for a match at
   the matcher's security level, else 0; after any error both are 0.
   A template with fewer than 4 minutiae scores 0.
   VXM_ERR_INVALID_PARAMETERS: null pointer, or an invalid native template.
   VXM_ERR_DATA_CORRUPTED: a standard record fails its structural check.
   VXM_ERR_TEMPLATE_TYPE: a template is not of the matcher's type, which its first
   ten bytes tell. A template with fewer of them is of the matcher's type unless one of
   them says otherwise, so that a cut one fails its check. */
VXM_API int VXM_CALL VXM_VerifyEx(MatcherHandle handle, const unsigned char* template1, int size1,
                                  const unsigned char* template2, int size2, float* score,
                                  int* verified);

/** As VXM_VerifyEx, without the score. */
VXM_API int VXM_CALL VXM_Verify(MatcherHandle handle, const unsigned char* template1, int size1,
                                const unsigned char* template2, int size2, int* verified);

/* ---- Turning a template ------------------------------------------------ */

/** Turns a stored template of any of the three formats by 180 degrees in its
   buffer; the matcher's type plays no part. `size` is the usable size of the
   buffer: a native template may come back in a richer, longer form when there
   is room, a standard record carries an extended data field of 7 bytes that
   may cost it a minutia when there is not. The new size stands in the template's own
   header. Where not even a record without minutiae has room (35 bytes ISO, 37 ANSI),
   a standard record comes back unchanged, with VXM_OK.
   Takes no lock and replaces the probe of an incremental identification.
   VXM_ERR_TEMPLATE_TYPE: neither a standard record nor a valid native template;
   the buffer is unchanged. */
VXM_API int VXM_CALL VXM_RotateTemplate(MatcherHandle handle, unsigned char* templateData,
                                        int size);

/* ---- One to many ------------------------------------------------------- */

/** Searches `templateCount` candidates for one that matches the probe and stores
   its index in *matchIndex, or -1. Candidates are tried in the order of
   likeness to the probe; the first that reaches the threshold ends the search,
   which need not be the best. A count of 0 or less is an empty gallery.
   Passed over without an error are null entries, invalid native templates, templates
   cut before the end of their first ten bytes (where none of these is of another
   format), and standard records cut before their attribute (see docs/formats.md). Any
   other standard record is compared, with the minutiae that lie inside its size.
   `timeout` limits each pass, in milliseconds, 0 for none; it is tested after
   each comparison. With VXM_PARAM_RETRY_TURNED a second pass with the turned
   probe follows when the first finds nothing.
   VXM_ERR_MATCH_TIMEOUT, VXM_ERR_MATCH_ABORTED: the search ended early.
   VXM_ERR_TEMPLATE_TYPE: the probe, or a candidate that the search reached, is
   not of the matcher's type. VXM_ERR_INVALID_PARAMETERS: a null pointer, which alone
   leaves *matchIndex unchanged, or an invalid native probe. After every other error
   *matchIndex is -1. */
VXM_API int VXM_CALL VXM_Identify(MatcherHandle handle, const unsigned char* probe, int probeSize,
                                  const unsigned char* const* templates, const int* templateSizes,
                                  int templateCount, unsigned int timeout, int* matchIndex);

/** As VXM_Identify with the candidates back to back in the one buffer at
   the address *templateData: candidate i begins at the sum of the sizes before
   it. Of a candidate longer than 1024 bytes only the first 1024 are used. */
VXM_API int VXM_CALL VXM_Identify_J(MatcherHandle handle, const unsigned char* probe, int probeSize,
                                    const unsigned char* const* templateData,
                                    const int* templateSizes, int templateCount,
                                    unsigned int timeout, int* matchIndex);

/** As VXM_Identify on two threads: the caller's and one worker that ends before
   the call returns. Which of several matching candidates is reported depends on
   timing. A candidate of another format ends the search only where the calling
   thread meets it; the time limit and the abort are not seen once the calling
   thread has finished its half. VXM_ERROR: the worker could not be started. */
VXM_API int VXM_CALL VXM_IdentifyMT(MatcherHandle handle, const unsigned char* probe, int probeSize,
                                    const unsigned char* const* templates, const int* templateSizes,
                                    int templateCount, unsigned int timeout, int* matchIndex);

/** As VXM_IdentifyMT with the candidates of VXM_Identify_J. */
VXM_API int VXM_CALL VXM_IdentifyMT_J(MatcherHandle handle, const unsigned char* probe,
                                      int probeSize, const unsigned char* const* templateData,
                                      const int* templateSizes, int templateCount,
                                      unsigned int timeout, int* matchIndex);

/** Asks the identification that is running on the matcher to stop; it answers
   VXM_ERR_MATCH_ABORTED after the comparison in progress. Without effect when
   none is running. From any thread. */
VXM_API int VXM_CALL VXM_AbortIdentify(MatcherHandle handle);

/** Loads a probe for VXM_IdentifyNext. Takes no lock. Call it again after a
   verification, identification or rotation on the same matcher and after
   changing the template type, the fast mode or the turned retry.
   VXM_ERR_TEMPLATE_TYPE: not a usable template of the matcher's type. */
VXM_API int VXM_CALL VXM_IdentifyInit(MatcherHandle handle, const unsigned char* probe,
                                      int probeSize);

/** Compares one candidate with the probe of VXM_IdentifyInit: *matched is 1 or 0.
   A null candidate counts as no match.
   Only for native templates does it decide as VXM_Identify would: every format is
   compared and decided as native here. Standard records have no ridge orientations
   that could turn with the finger, so that one turned by more than about 15 degrees
   against the probe does not match, not even itself. For them, call VXM_Identify with
   the one candidate.
   VXM_ERR_TEMPLATE_TYPE: not a usable template of the matcher's type; *matched is
   not written. */
VXM_API int VXM_CALL VXM_IdentifyNext(MatcherHandle handle, const unsigned char* candidate,
                                      int candidateSize, int* matched);

/* ---- Texts of status codes --------------------------------------------- */

/** Writes the text of a status code (at most VXM_ERROR_TEXT_SIZE bytes with its
   zero). For a value that is no status the text is "Undefined status" and the
   result VXM_ERROR. Needs no matcher; from any thread. */
VXM_API int VXM_CALL VXM_GetErrorString(int status, char* message);

/** As VXM_GetErrorString, as a new string that the caller frees (see
   VXM_ComString). When none can be made *message is null and the result VXM_ERROR. */
VXM_API int VXM_CALL VXM_GetErrorString_B(int status, VXM_ComString* message);

#ifdef __cplusplus
}
#endif

#endif
