import { Status } from "./constants.js";

/** A call that the library refused or ended early. */
export class VxmError extends Error {
  override name = "VxmError";

  /**
   * @param status the library's status code
   * @param text the library's own words for it
   * @param where what was being done
   */
  constructor(
    readonly status: Status,
    readonly text: string,
    readonly where: string,
  ) {
    super(`${where}: ${text} (${status})`);
  }
}

/** An invalid native template (-112). */
export class InvalidParametersError extends VxmError {
  override name = "InvalidParametersError";
}

/** A standard record fails its structural check (-113). */
export class DataCorruptedError extends VxmError {
  override name = "DataCorruptedError";
}

/** An identification passed its time limit (-401). */
export class MatchTimeoutError extends VxmError {
  override name = "MatchTimeoutError";
}

/** An identification was stopped (-402). */
export class MatchAbortedError extends VxmError {
  override name = "MatchAbortedError";
}

/** A template is not of the matcher's type (-411). */
export class TemplateTypeError extends VxmError {
  override name = "TemplateTypeError";
}

const classes = new Map<number, typeof VxmError>([
  [Status.ERR_INVALID_PARAMETERS, InvalidParametersError],
  [Status.ERR_DATA_CORRUPTED, DataCorruptedError],
  [Status.ERR_MATCH_TIMEOUT, MatchTimeoutError],
  [Status.ERR_MATCH_ABORTED, MatchAbortedError],
  [Status.ERR_TEMPLATE_TYPE, TemplateTypeError],
]);

/** The error for a status that is not OK. */
export function errorOf(status: number, text: string, where: string): VxmError {
  return new (classes.get(status) ?? VxmError)(status as Status, text, where);
}
