// Compiled (not run) by the browser tests with tsc --noEmit: the package's declarations describe
// its use as the README shows it.
import {
  OstranaEffects,
  OstranaEffectNode,
  audioBufferToWav,
  chain,
  renderOffline,
  type EffectSettings,
  type ParameterDefinition,
} from "ostrana-effects";

export async function example(audioBuffer: AudioBuffer): Promise<ArrayBuffer> {
  const context = new AudioContext();
  await OstranaEffects.load(context);
  const chorus = new OstranaEffectNode(context, "chorus", { frequency: 0.5 });
  chorus.parameters.get("frequency")?.setValueAtTime(0.8, context.currentTime);
  const definitions: ParameterDefinition[] = chorus.definitions;
  const units = definitions.map((d) => `${d.name} ${d.unit} ${d.minValue}..${d.maxValue}`);
  const settings: EffectSettings = chorus.toJSON();
  const echoes = chain(context, [settings, { type: "delay", parameters: { delayMs: 350 } }, "flanger"]);
  echoes.output.connect(context.destination);
  const stats = await chorus.stats();
  console.log(units, stats.quanta, OstranaEffects.effects, chorus.presets.length);
  const rendered: AudioBuffer = await renderOffline(audioBuffer, echoes.toJSON(), { tail: 2 });
  chorus.dispose();
  return audioBufferToWav(rendered);
}
