/** What the first bytes of a template tell: its format, and how long it is. */
import { TemplateType } from "./constants.js";

/** Bytes of the data block that a turned standard record carries behind its minutiae. */
export const ATTRIBUTE_BLOCK = 7;

const byteAt = (bytes: Uint8Array, offset: number): number => bytes[offset] ?? 0;

/** The format that a template claims to be of. Any bytes that are no standard record
 * are taken for a native template, valid or not. */
export function detectType(template: Uint8Array): TemplateType {
  const magic = [0x46, 0x4d, 0x52, 0];
  if (template.length < 4 || magic.some((byte, i) => template[i] !== byte)) {
    return TemplateType.NATIVE;
  }
  // The 2-byte record length of ANSI stands where ISO has the upper, zero half of its
  // 4-byte one.
  const ansi = byteAt(template, 8) !== 0 || byteAt(template, 9) !== 0;
  return ansi ? TemplateType.ANSI378 : TemplateType.ISO19794_2;
}

/** Bytes up to the end of the map (native) or of the first view's last minutia. */
export function bodySize(template: Uint8Array): number {
  const type = detectType(template);
  if (type !== TemplateType.NATIVE) {
    const before = type === TemplateType.ISO19794_2 ? 28 : 30;
    return before + 6 * byteAt(template, before - 1);
  }
  const kind = byteAt(template, 2);
  const blocks = (kind & 63) * (byteAt(template, 3) & 63);
  const map = (kind & 0x80) !== 0 ? blocks : (blocks + 1) >> 1;
  return 8 + byteAt(template, 1) * (byteAt(template, 0) & 7) + map;
}
