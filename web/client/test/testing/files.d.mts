/** The text of a file of this source tree. */
export function treeFile(name: string): string;
