/** The build puts the bytes of WebAssembly modules into the scripts. */
declare module "*.wasm" {
  const bytes: Uint8Array;
  export default bytes;
}
