/** Forms of record in the field, and which of them the matcher compares. */
import { TemplateType } from "../src/constants.js";

export interface Form {
  id: number;
  name: string;
  suffix: string;
  /** Its bytes do not tell what they are. */
  headerless: boolean;
}

const form = (id: number, name: string, suffix: string, headerless = false): Form =>
  ({ id, name, suffix, headerless });

/** Numbered as in vxmrecords.h. */
export const FORMS: readonly Form[] = [
  form(1, "ANSI 378-2004", ".ansi"),
  form(2, "ANSI 378-2009", ".ansi"),
  form(3, "ANSI 378-2009 with amendment 1", ".ansi"),
  form(4, "ISO 19794-2:2005", ".iso"),
  form(5, "ISO 19794-2:2011", ".iso"),
  form(6, "ISO 19794-2 card", ".card", true),
  form(7, "ISO 19794-2 compact card", ".card", true),
  form(8, "minutia text (xyt)", ".xyt", true),
];

const ANSI_2004 = 1;
const ISO_2005 = 4;
const LATER_ANSI = [2, 3];

/** The form that the matcher compares in place of another; null: it is one itself. */
export function comparable(id: number): number | null {
  if (id === 0 || id === ANSI_2004 || id === ISO_2005) return null;
  return LATER_ANSI.includes(id) ? ANSI_2004 : ISO_2005;
}

/** The form of the records of a template type; null: native templates are no records. */
export function formOf(type: TemplateType): number | null {
  if (type === TemplateType.NATIVE) return null;
  return type === TemplateType.ANSI378 ? ANSI_2004 : ISO_2005;
}
