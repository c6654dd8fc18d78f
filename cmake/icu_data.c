/* ICU's data without an item, in place of the 30 MB that a static ICU brings. What is asked of ICU here
 * (case mappings of the root locale, properties of characters) is in its code; whatever would need an
 * item fails, with U_MISSING_RESOURCE_ERROR or the like.
 *
 * The layout is that of ICU's common data, "CmnD" of format 1: a header, and a table of contents that
 * begins with the number of its items. */
#include <stddef.h>
#include <unicode/udata.h>
#include <unicode/utypes.h>

struct CommonData {
  uint16_t header_size;
  uint8_t magic[2];
  UDataInfo info;
  uint32_t padding[2];
  uint32_t item_count;
  uint32_t reserved;
};

const struct CommonData U_ICUDATA_ENTRY_POINT __attribute__((aligned(16))) = {
    .header_size = offsetof(struct CommonData, item_count),
    .magic = {0xDA, 0x27},
    .info = {.size = sizeof(UDataInfo),
             .isBigEndian = U_IS_BIG_ENDIAN,
             .charsetFamily = U_CHARSET_FAMILY,
             .sizeofUChar = U_SIZEOF_UCHAR,
             .dataFormat = {'C', 'm', 'n', 'D'},
             .formatVersion = {1, 0, 0, 0}},
};
