// Runs a WebAssembly program with node: wasi.mjs FILE [ARGS...]
import { readFile } from 'node:fs/promises';
import { WASI } from 'node:wasi';
import { argv, env, exit } from 'node:process';

const wasi = new WASI({ version: 'preview1', args: argv.slice(2), env, returnOnExit: true });
const { instance } = await WebAssembly.instantiate(await readFile(argv[2]), wasi.getImportObject());
exit(wasi.start(instance));
