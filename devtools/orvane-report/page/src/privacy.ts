import { Masker } from "./mask";

/** The switch, and what all archives of the page share: the same person has the same token in each. */
export const privacy = { on: false, masker: new Masker() };

/** A text of an archive as it may be seen now. */
export const seen = (text: string): string => privacy.on ? privacy.masker.mask(text) : text;
export const seenParameter = (name: string, value: string): string => privacy.on ? privacy.masker.parameter(name, value) : value;
