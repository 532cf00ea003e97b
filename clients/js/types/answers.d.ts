/* What the device answers to a path and takes with it, read out of the description of the routes. */
import type { paths } from './openapi.js';

type Operation<Path, Method> = Path extends keyof paths ? (Method extends keyof paths[Path] ? paths[Path][Method] : unknown) : unknown;
type Json<Response> = Response extends { content: { 'application/json': infer Content } } ? Content : unknown;
type Paths<Method extends 'get' | 'post'> = { [Path in keyof paths]: paths[Path][Method] extends object ? Path : never }[keyof paths];

export type GetPath = Paths<'get'>;
export type PostPath = Paths<'post'>;

/** The object that a path answers with; a path that the description does not have answers with anything. */
export type Answer<Path, Method extends 'get' | 'post'> = [Operation<Path, Method>] extends [{ responses: { 200: infer Response } }]
  ? Json<Response>
  : any;

/** The object that a path takes. */
export type Body<Path> = [Operation<Path, 'post'>] extends [{ requestBody: { content: { 'application/json': infer Content } } }]
  ? Content
  : unknown;

export type LoginAnswer = Answer<'/api/v1/auth/login', 'post'>;
