/** @file
   Finger minutiae records as they are met in the field: telling their form,
   checking, reading, converting and writing them.

   The matcher (vxmkit.h) compares two forms of record, ISO/IEC 19794-2:2005 and ANSI
   INCITS 378-2004, and takes the later ones for ISO:2005, in which it finds no
   minutiae or wrong ones. This library stands before it and knows nothing of it:

       VXR_Record *record, *wanted;
       VXR_Conversion conversion = {VXR_ISO_2005};
       conversion.view = -1;
       conversion.resolution = 197;
       int form = VXR_TellForm(bytes, size);
       if (VXR_Read(bytes, size, form, NULL, &record, &fault) != VXR_OK) return 1;
       if (VXR_Convert(record, &conversion, &wanted, &losses, &fault) == VXR_OK)
         VXR_Write(wanted, buffer, bufferSize, &written, &fault);

   What holds for every function:

   1. The result is VXR_OK or one of the negative codes below, if nothing else is said.
      Then outputs are null or 0, and *fault says why, in a text for the user.
   2. Any bytes of any size may be handed in: nothing at or beyond the size is read.
   3. Coordinates are pixels, x to the right and y down. Angles count counter-clockwise
      from the positive x axis, in units of the record's form (see VXR_Form).
      Resolutions are pixels per centimetre: 197 is 500 dpi.
   4. Nothing is printed, thrown or kept between calls; every function may be called
      from any thread.
   5. VXR_Fault may be null where it is an output, and so may VXR_Losses.
*/
#ifndef VXMRECORDS_H
#define VXMRECORDS_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define VXR_CALL __cdecl
#define VXR_API
#elif defined(__GNUC__)
#define VXR_CALL
#define VXR_API __attribute__((visibility("default")))
#else
#define VXR_CALL
#define VXR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The forms, each with the unit of its angles. Card forms and xyt carry no header:
   their bytes do not tell what they are. */
enum VXR_Form {
  VXR_UNKNOWN = 0,
  VXR_ANSI_2004 = 1,        /**< ANSI INCITS 378-2004; 2 degrees */
  VXR_ANSI_2009 = 2,        /**< ANSI INCITS 378-2009; 2 degrees */
  VXR_ANSI_2009_AM1 = 3,    /**< the same with its amendment 1; 2 degrees */
  VXR_ISO_2005 = 4,         /**< ISO/IEC 19794-2:2005; 360/256 degrees */
  VXR_ISO_2011 = 5,         /**< ISO/IEC 19794-2:2011; 360/256 degrees */
  VXR_ISO_CARD = 6,         /**< card form, 5 bytes a minutia; 360/256 degrees */
  VXR_ISO_CARD_COMPACT = 7, /**< card form, 3 bytes a minutia, at 100 pixels per cm (a
                               pixel is a tenth of a millimetre); 360/64 degrees */
  VXR_XYT = 8               /**< minutia text, lines "x y theta quality"; 1 degree */
};

enum VXR_Status {
  VXR_OK = 0,
  VXR_ERROR_MEMORY = -1,   /**< none was to be had */
  VXR_ERROR_ARGUMENT = -2, /**< null pointer, unknown form, value that means nothing */
  VXR_ERROR_DAMAGED = -3,  /**< the bytes cannot be read as that form */
  VXR_ERROR_FORM = -4,     /**< the form cannot hold the record */
  VXR_ERROR_ROOM = -5      /**< the buffer is too small */
};

enum VXR_MinutiaType { VXR_OTHER = 0, VXR_RIDGE_ENDING = 1, VXR_BIFURCATION = 2 };

/** 8 bytes without padding. */
typedef struct VXR_Minutia {
  uint16_t x;
  uint16_t y;
  uint16_t angle;  /**< in units of the record's form */
  uint8_t type;    /**< VXR_MinutiaType; 3 is reserved */
  uint8_t quality; /**< 1..100; 0 or 254 not given, 255 failed */
} VXR_Minutia;

/** How good a view is: 0..100; 254 not given, 255 failed. */
typedef struct VXR_Quality {
  uint16_t vendor;
  uint16_t algorithm;
  uint8_t value;
} VXR_Quality;

typedef struct VXR_Certification {
  uint16_t authority;
  uint8_t scheme;
} VXR_Certification;

/** A finger view (a representation, as ISO:2011 says). What a form does not have is
   0 (a time: all ones) after reading. */
typedef struct VXR_View {
  uint16_t width; /**< of the image; of all views alike in ANSI-2004 and ISO:2005 */
  uint16_t height;
  uint16_t xResolution;
  uint16_t yResolution;
  uint16_t captureVendor; /**< this and the next three: ISO:2011 */
  uint16_t captureDevice;
  uint8_t captureTechnology;
  uint8_t captureTime[9]; /**< year (2 bytes), month, day, hour, minute, second,
                             milliseconds (2 bytes); all ones: unknown */
  uint8_t fingerPosition; /**< 0 unknown, 1 right thumb to 10 left little finger */
  uint8_t number;
  uint8_t impressionType;
  uint8_t minutiaSize;         /**< ISO:2011: 5, without quality, or 6 bytes */
  uint8_t ridgeEndingType;     /**< ISO:2011 */
  uint32_t qualityCount;       /**< 1, but for ISO:2011 (0..255), card forms and xyt (0) */
  uint32_t certificationCount; /**< ISO:2011 */
  uint32_t minutiaCount;
  uint32_t extendedSize; /**< bytes of all blocks of extended data */
  const VXR_Quality* qualities;
  const VXR_Certification* certifications;
  const VXR_Minutia* minutiae;
  const uint8_t* extended; /**< blocks: type (2 bytes), length (2, these four included),
                              data */
} VXR_View;

typedef struct VXR_Record {
  int32_t form;
  uint16_t vendor; /**< this and the next: ANSI */
  uint16_t subformat;
  uint16_t device;       /**< not ISO:2011, which has one in each view */
  uint8_t certification; /**< as it stands: 4 bits (2004, 2005), 0x80 or 0 (2009), 1 where
                            views list certifications (2011) */
  uint8_t reserved;
  uint32_t viewCount;
  const VXR_View* views;
} VXR_Record;

/** What is wrong, and where. */
typedef struct VXR_Fault {
  size_t offset;   /**< of the field, in bytes from the record's start */
  int32_t view;    /**< index of the view, -1 for the header */
  int32_t minutia; /**< index of the minutia, -1 for other fields */
  char text[152];  /**< without the offset; zero-terminated */
} VXR_Fault;

/** What headerless bytes do not say. Zeros: unknown. */
typedef struct VXR_Image {
  uint16_t width;
  uint16_t height;     /**< xyt cannot be read without */
  uint16_t resolution; /**< 0: 197; the compact card has always 100 */
} VXR_Image;

enum VXR_Order {
  VXR_ORDER_KEPT = 0,
  VXR_ORDER_X = 1,
  VXR_ORDER_Y = 2,
  VXR_ORDER_ANGLE = 3,
  VXR_ORDER_DISTANCE = 4 /**< from the centroid */
};

/** What is wanted of a conversion. */
typedef struct VXR_Conversion {
  int32_t form;
  int32_t resolution;   /**< in x and y, 1..65535; 0 keeps. Positions are scaled. */
  int32_t width;        /**< of the new image; 0: the old one's, scaled */
  int32_t height;       /**< likewise */
  int32_t view;         /**< index of the one view to take, numbered 0 then; -1: all */
  int32_t maxMinutiae;  /**< of each view those nearest to the centroid; 0: all */
  int32_t order;        /**< VXR_Order; ties keep the record's order */
  int32_t descending;   /**< of that order */
  int32_t keepExtended; /**< where image, positions, unit of angles, order and number of
                           the minutiae stay as they are */
} VXR_Conversion;

/** What the new record no longer holds: numbers of minutiae, blocks, views, fields. */
typedef struct VXR_Losses {
  uint32_t minutiaeOutside;  /**< outside the new image, or of the form's coordinates */
  uint32_t minutiaePruned;   /**< beyond the maximum that was asked, or 255 */
  uint32_t positionsRounded; /**< those that scaling back would not restore */
  uint32_t anglesRounded;    /**< likewise */
  uint32_t typesDropped;
  uint32_t qualitiesDropped; /**< of minutiae */
  uint32_t extendedDropped;  /**< blocks */
  uint32_t viewsDropped;
  uint32_t fieldsDropped; /**< of header and views, that held something */
} VXR_Losses;

/** The form of a record, by its structure where the version does not say; VXR_UNKNOWN
   for what begins as no record does, or with an unknown version. */
VXR_API int VXR_CALL VXR_TellForm(const unsigned char* bytes, size_t size);

/** The name of a form, such as "iso-2011"; null if there is no such form. */
VXR_API const char* VXR_CALL VXR_FormName(int form);

/** The form of that name; capital letters and what is no letter or digit make no
   difference ("ISO:2011" is one), and "378" and "19794-2" may stand in it.
   VXR_UNKNOWN for any other text. */
VXR_API int VXR_CALL VXR_FormOfName(const char* name);

/** Checks a record as one of that form, as a conformance test would: all lengths,
   counts and ranges. Writes the first `capacity` faults and gives the number of all;
   0: conformant; VXR_ERROR_MEMORY: not checked. Reading ends at a fault of structure.
   `image` as for VXR_Read. */
VXR_API int VXR_CALL VXR_Check(const unsigned char* bytes, size_t size, int form,
                               const VXR_Image* image, VXR_Fault* faults, int capacity);

/** Reads a record of that form: structure alone must be right, not the ranges.
   `image` is for headerless forms and may be null. *record is to be given to VXR_Free. */
VXR_API int VXR_CALL VXR_Read(const unsigned char* bytes, size_t size, int form,
                              const VXR_Image* image, VXR_Record** record, VXR_Fault* fault);

/** Makes a new record, to be given to VXR_Free, of what another holds. */
VXR_API int VXR_CALL VXR_Convert(const VXR_Record* record, const VXR_Conversion* conversion,
                                 VXR_Record** converted, VXR_Losses* losses, VXR_Fault* fault);

/** Writes a record in its own form. *size is the size it takes, also where `capacity`
   is less (VXR_ERROR_ROOM; `bytes` may be null then). VXR_ERROR_FORM: a value or a
   count does not fit its field. */
VXR_API int VXR_CALL VXR_Write(const VXR_Record* record, unsigned char* bytes, size_t capacity,
                               size_t* size, VXR_Fault* fault);

/** Releases what VXR_Read or VXR_Convert made; null is fine. */
VXR_API void VXR_CALL VXR_Free(VXR_Record* record);

#ifdef __cplusplus
}
#endif

#endif
